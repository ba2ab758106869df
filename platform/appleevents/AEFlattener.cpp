#include "platform/appleevents/AEFlattener.h"

#include <cstdint>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

namespace platform::appleevents {

namespace {

constexpr char kEventMagic[] = "LmAE";
constexpr std::uint8_t kEventVersion = 1;
// The smallest descriptor (an empty atomic one) and the smallest record entry.
constexpr std::size_t kMinDescriptorBytes = 4 + 1 + 4;
constexpr std::size_t kMinEntryBytes = 4 + kMinDescriptorBytes;

void putU32(std::string& out, std::uint32_t v) {
    out.push_back(static_cast<char>(v >> 24));
    out.push_back(static_cast<char>(v >> 16));
    out.push_back(static_cast<char>(v >> 8));
    out.push_back(static_cast<char>(v));
}

void putDesc(std::string& out, const AEDesc& desc) {
    putU32(out, desc.descriptorType());
    out.push_back(static_cast<char>(desc.shape()));
    if (desc.shape() == AEDesc::Shape::Atomic) {
        putU32(out, static_cast<std::uint32_t>(desc.data().size()));
        out += desc.data();
        return;
    }
    putU32(out, static_cast<std::uint32_t>(desc.count()));
    for (std::size_t i = 1; i <= desc.count(); ++i) {
        if (desc.isRecord())
            putU32(out, desc.keywordAt(i));
        putDesc(out, *desc.item(i));
    }
}

// The exact data size a fixed-size type must have, or nullopt for variable ones.
std::optional<std::size_t> fixedSize(DescType type) {
    switch (type) {
    case typeSInt32:
    case typeType:
    case typeEnumerated:
    case typeAbsoluteOrdinal:
        return 4;
    case typeLongDateTime:
        return 8;
    case typeNull:
    case typeObjectBeingExamined:
        return 0;
    default:
        return std::nullopt;
    }
}

// Reads one input front to back; the first failure sticks and every later read fails.
class Reader {
public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}

    std::size_t remaining() const { return bytes_.size() - pos_; }
    bool atEnd() const { return pos_ == bytes_.size(); }
    const std::optional<std::string>& failure() const { return failure_; }

    bool fail(const char* why) {
        if (!failure_)
            failure_ = std::string(why) + " at byte " + std::to_string(pos_);
        return false;
    }

    bool u8(std::uint8_t& v) {
        if (failure_ || remaining() < 1)
            return fail("the input ends early");
        v = static_cast<std::uint8_t>(bytes_[pos_++]);
        return true;
    }

    bool u32(std::uint32_t& v) {
        if (failure_ || remaining() < 4)
            return fail("the input ends early");
        v = 0;
        for (int i = 0; i < 4; ++i)
            v = (v << 8) | static_cast<std::uint8_t>(bytes_[pos_++]);
        return true;
    }

    bool take(std::size_t n, std::string& out) {
        if (failure_ || remaining() < n)
            return fail("a length runs past the end of the input");
        out.assign(bytes_.substr(pos_, n));
        pos_ += n;
        return true;
    }

    bool desc(AEDesc& out, std::size_t depth) {
        if (depth > AEFlattener::kMaxDepth)
            return fail("descriptors nest too deeply");
        if (++descriptors_ > AEFlattener::kMaxDescriptors)
            return fail("too many descriptors");
        std::uint32_t type = 0;
        std::uint8_t shape = 0;
        std::uint32_t size = 0;
        if (!u32(type) || !u8(shape) || !u32(size))
            return false;
        const bool listType = type == typeAEList;
        const bool recordType = isRecordType(type);
        switch (static_cast<AEDesc::Shape>(shape)) {
        case AEDesc::Shape::Atomic: {
            if (listType || recordType)
                return fail("a list or record type holds atomic data");
            const auto fixed = fixedSize(type);
            if (fixed && *fixed != size)
                return fail("a fixed-size descriptor has the wrong size");
            std::string data;
            if (!take(size, data))
                return false;
            out = AEDesc::atomic(type, std::move(data));
            return true;
        }
        case AEDesc::Shape::List:
            if (!listType)
                return fail("a list has a type other than 'list'");
            if (size > remaining() / kMinDescriptorBytes)
                return fail("a list counts more items than the input holds");
            out = AEDesc::list();
            for (std::uint32_t i = 0; i < size; ++i) {
                AEDesc item;
                if (!desc(item, depth + 1))
                    return false;
                out.append(std::move(item));
            }
            return true;
        case AEDesc::Shape::Record:
            return record(out, type, size, depth);
        }
        return fail("unknown descriptor shape");
    }

private:
    bool record(AEDesc& out, std::uint32_t type, std::uint32_t count, std::size_t depth) {
        if (!isRecordType(type))
            return fail("a record has a type that is not a record type");
        if (count > remaining() / kMinEntryBytes)
            return fail("a record counts more entries than the input holds");
        std::vector<std::pair<AEKeyword, AEDesc>> entries;
        std::unordered_set<AEKeyword> seen;
        entries.reserve(count);
        seen.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            std::uint32_t keyword = 0;
            AEDesc value;
            if (!u32(keyword))
                return false;
            if (!seen.insert(keyword).second)
                return fail("a record repeats a keyword");
            if (!desc(value, depth + 1))
                return false;
            entries.emplace_back(keyword, std::move(value));
        }
        out = AEDesc::record(type, std::move(entries));
        return true;
    }

    std::string_view bytes_;
    std::size_t pos_ = 0;
    std::size_t descriptors_ = 0;
    std::optional<std::string> failure_;
};

Error corrupt(const std::string& why) {
    return makeError("malformed Apple Event data: " + why, errAECorruptData);
}

Result<void> checkSize(std::string_view bytes) {
    if (bytes.size() > AEFlattener::kMaxBytes)
        return corrupt("the input is larger than " + std::to_string(AEFlattener::kMaxBytes) + " bytes");
    return {};
}

} // namespace

std::string AEFlattener::flatten(const AEDesc& desc) {
    std::string out;
    putDesc(out, desc);
    return out;
}

std::string AEFlattener::flatten(const AppleEvent& event) {
    std::string out(kEventMagic, 4);
    out.push_back(static_cast<char>(kEventVersion));
    putU32(out, event.eventClass());
    putU32(out, event.eventID());
    const auto returnID = static_cast<std::uint16_t>(event.returnID());
    out.push_back(static_cast<char>(returnID >> 8));
    out.push_back(static_cast<char>(returnID));
    putU32(out, static_cast<std::uint32_t>(event.transactionID()));
    putDesc(out, event.target());
    putDesc(out, event.parameters());
    return out;
}

Result<AEDesc> AEFlattener::unflattenDesc(std::string_view bytes) {
    LUMETTA_TRY_VOID(checkSize(bytes));
    Reader reader(bytes);
    AEDesc desc;
    if (reader.desc(desc, 1) && !reader.atEnd())
        reader.fail("bytes follow the descriptor");
    if (reader.failure())
        return corrupt(*reader.failure());
    return desc;
}

Result<AppleEvent> AEFlattener::unflattenEvent(std::string_view bytes) {
    LUMETTA_TRY_VOID(checkSize(bytes));
    if (bytes.substr(0, 4) != std::string_view(kEventMagic, 4))
        return corrupt("the bytes are not an event");
    Reader reader(bytes.substr(4));
    std::uint8_t version = 0;
    std::uint32_t eventClass = 0, eventID = 0, returnID = 0, transactionID = 0;
    std::uint8_t returnHigh = 0, returnLow = 0;
    AEDesc target, parameters;
    if (reader.u8(version) && version != kEventVersion)
        reader.fail("the event is of an unknown version");
    if (reader.u32(eventClass) && reader.u32(eventID) && reader.u8(returnHigh) && reader.u8(returnLow) &&
        reader.u32(transactionID) && reader.desc(target, 1) && reader.desc(parameters, 1)) {
        if (target.shape() != AEDesc::Shape::Atomic)
            reader.fail("the event's target is not an address");
        else if (parameters.descriptorType() != typeAERecord)
            reader.fail("the event's parameters are not a record");
        else if (!reader.atEnd())
            reader.fail("bytes follow the event");
    }
    if (reader.failure())
        return corrupt(*reader.failure());
    returnID = (std::uint32_t{returnHigh} << 8) | returnLow;
    AppleEvent event(eventClass, eventID, std::move(target), static_cast<AEReturnID>(returnID),
                     static_cast<AETransactionID>(transactionID));
    event.setParameters(std::move(parameters));
    return event;
}

} // namespace platform::appleevents
