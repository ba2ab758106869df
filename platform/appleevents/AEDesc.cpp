#include "platform/appleevents/AEDesc.h"

#include "platform/appleevents/LongDateTime.h"
#include "platform/foundation/MacRoman.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace platform::appleevents {

namespace {

// Numbers inside descriptors are in native byte order.
template <class T> std::string nativeBytes(T value) {
    std::string bytes(sizeof(T), '\0');
    std::memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}

template <class T> std::optional<T> readNative(const std::string& bytes) {
    if (bytes.size() != sizeof(T))
        return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
}

} // namespace

bool isRecordType(DescType type) {
    return type == typeAERecord || type == typeObjectSpecifier || type == typeCompDescriptor ||
           type == typeLogicalDescriptor || type == typeInsertionLoc;
}

AEDesc AEDesc::composite(DescType type, Shape shape) {
    AEDesc desc;
    desc.type_ = type;
    desc.shape_ = shape;
    return desc;
}

AEDesc AEDesc::atomic(DescType type, std::string bytes) {
    if (type == typeAEList)
        return list();
    if (isRecordType(type))
        return record(type);
    AEDesc desc;
    desc.type_ = type;
    desc.data_ = std::move(bytes);
    return desc;
}

AEDesc AEDesc::text(std::string_view bytes) {
    return atomic(typeChar, std::string(bytes));
}

Result<AEDesc> AEDesc::macRomanText(std::string_view utf8) {
    auto encoded = LUMETTA_TRY(MacRoman::encode(utf8));
    return atomic(typeChar, std::move(encoded));
}

AEDesc AEDesc::utf8Text(std::string_view utf8) {
    return atomic(typeUTF8Text, std::string(utf8));
}

AEDesc AEDesc::longInteger(std::int32_t value) {
    return atomic(typeSInt32, nativeBytes(value));
}

AEDesc AEDesc::longDateTime(std::int64_t value) {
    return atomic(typeLongDateTime, nativeBytes(value));
}

Result<AEDesc> AEDesc::longDateTime(platform::Date date) {
    std::int64_t value = 0;
    const OSStatus status = UCConvertCFAbsoluteTimeToLongDateTime(date.seconds, &value);
    if (status != noErr)
        return makeError("the date cannot be written as a LongDateTime", status);
    return longDateTime(value);
}

AEDesc AEDesc::typeCode(OSType code) {
    return atomic(typeType, nativeBytes(code));
}

AEDesc AEDesc::enumerated(OSType code) {
    return atomic(typeEnumerated, nativeBytes(code));
}

AEDesc AEDesc::bundleIdentifier(std::string_view identifier) {
    return atomic(typeApplicationBundleID, std::string(identifier));
}

AEDesc AEDesc::list(std::vector<AEDesc> items) {
    AEDesc desc = composite(typeAEList, Shape::List);
    desc.items_ = std::move(items);
    return desc;
}

AEDesc AEDesc::record(DescType type) {
    return composite(isRecordType(type) ? type : typeAERecord, Shape::Record);
}

AEDesc AEDesc::record(DescType type, std::vector<std::pair<AEKeyword, AEDesc>> entries) {
    AEDesc desc = record(type);
    std::unordered_map<AEKeyword, std::size_t> positions;
    positions.reserve(entries.size());
    for (auto& [keyword, value] : entries) {
        const auto [at, added] = positions.emplace(keyword, desc.items_.size());
        if (added) {
            desc.keywords_.push_back(keyword);
            desc.items_.push_back(std::move(value));
        } else {
            desc.items_[at->second] = std::move(value);
        }
    }
    return desc;
}

AEDesc AEDesc::objectBeingExamined() {
    return atomic(typeObjectBeingExamined, {});
}

AEDesc AEDesc::absoluteOrdinal(OSType ordinal) {
    return atomic(typeAbsoluteOrdinal, nativeBytes(ordinal));
}

AEDesc AEDesc::objectSpecifier(OSType form, DescType want, AEDesc seld, AEDesc from) {
    AEDesc specifier = record(typeObjectSpecifier);
    specifier.setParam(keyAEDesiredClass, typeCode(want));
    specifier.setParam(keyAEKeyForm, enumerated(form));
    specifier.setParam(keyAEKeyData, std::move(seld));
    specifier.setParam(keyAEContainer, std::move(from));
    return specifier;
}

AEDesc AEDesc::propertySpecifier(OSType property, AEDesc from) {
    return objectSpecifier(formPropertyID, cProperty, typeCode(property), std::move(from));
}

const AEDesc* AEDesc::item(std::size_t index) const {
    if (index < 1 || index > items_.size())
        return nullptr;
    return &items_[index - 1];
}

AEKeyword AEDesc::keywordAt(std::size_t index) const {
    if (shape_ != Shape::Record || index < 1 || index > keywords_.size())
        return 0;
    return keywords_[index - 1];
}

void AEDesc::append(AEDesc item) {
    if (shape_ == Shape::List)
        items_.push_back(std::move(item));
}

void AEDesc::setParam(AEKeyword keyword, AEDesc value) {
    if (shape_ != Shape::Record)
        return;
    const auto at = std::find(keywords_.begin(), keywords_.end(), keyword);
    if (at != keywords_.end()) {
        items_[static_cast<std::size_t>(at - keywords_.begin())] = std::move(value);
        return;
    }
    keywords_.push_back(keyword);
    items_.push_back(std::move(value));
}

const AEDesc* AEDesc::param(AEKeyword keyword) const {
    if (shape_ != Shape::Record)
        return nullptr;
    const auto at = std::find(keywords_.begin(), keywords_.end(), keyword);
    return at == keywords_.end() ? nullptr : &items_[static_cast<std::size_t>(at - keywords_.begin())];
}

bool AEDesc::removeParam(AEKeyword keyword) {
    if (shape_ != Shape::Record)
        return false;
    const auto at = std::find(keywords_.begin(), keywords_.end(), keyword);
    if (at == keywords_.end())
        return false;
    items_.erase(items_.begin() + (at - keywords_.begin()));
    keywords_.erase(at);
    return true;
}

Result<AEDesc> AEDesc::coerced(DescType type) const {
    if (type == type_)
        return *this;
    AEDesc copy = *this;
    if (shape_ == Shape::Record && isRecordType(type)) {
        copy.type_ = type;
        return copy;
    }
    const bool codes = (type_ == typeType || type_ == typeEnumerated) && data_.size() == 4;
    if (codes && (type == typeType || type == typeEnumerated)) {
        copy.type_ = type;
        return copy;
    }
    return makeError("cannot coerce " + osTypeString(type_) + " to " + osTypeString(type), errAECoercionFail);
}

std::optional<std::int32_t> AEDesc::int32Value() const {
    if (type_ != typeSInt32)
        return std::nullopt;
    return readNative<std::int32_t>(data_);
}

std::optional<std::int64_t> AEDesc::longDateTimeValue() const {
    if (type_ != typeLongDateTime)
        return std::nullopt;
    return readNative<std::int64_t>(data_);
}

std::optional<platform::Date> AEDesc::dateValue() const {
    const auto value = longDateTimeValue();
    double seconds = 0;
    if (!value || UCConvertLongDateTimeToCFAbsoluteTime(*value, &seconds) != noErr)
        return std::nullopt;
    return platform::Date{seconds};
}

std::optional<OSType> AEDesc::osTypeValue() const {
    if (type_ != typeType && type_ != typeEnumerated && type_ != typeAbsoluteOrdinal)
        return std::nullopt;
    return readNative<OSType>(data_);
}

std::optional<std::string> AEDesc::bundleIdentifierValue() const {
    if (type_ != typeApplicationBundleID)
        return std::nullopt;
    return data_;
}

std::optional<std::string> AEDesc::textBytes() const {
    if (type_ != typeChar && type_ != typeUTF8Text)
        return std::nullopt;
    return data_;
}

std::optional<std::string> AEDesc::stringValue() const {
    if (type_ == typeUTF8Text)
        return data_;
    if (type_ == typeChar) {
        auto decoded = MacRoman::decode(data_);
        if (!decoded)
            return std::nullopt;
        return std::move(decoded.value());
    }
    if (const auto number = int32Value())
        return std::to_string(*number);
    return std::nullopt;
}

bool operator==(const AEDesc& a, const AEDesc& b) {
    return a.type_ == b.type_ && a.shape_ == b.shape_ && a.data_ == b.data_ && a.keywords_ == b.keywords_ &&
           a.items_ == b.items_;
}

} // namespace platform::appleevents
