#include "mailhost/criteria/MessageCriterion.h"

#include "mailhost/criteria/CriterionFixing.h"
#include "mailhost/criteria/HostCriteria.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

struct Seams {
    Class* cls = nullptr;
    Seam<int(Class*, std::string)>* typeForString = nullptr;
    Seam<std::string(Class*, int)>* stringForType = nullptr;
    Seam<bool(Object*, Message*)>* satisfies = nullptr;
    Seam<bool(Object*)>* containsBody = nullptr;
    Seam<bool(Object*, std::string*)>* isValid = nullptr;
    Seam<void(Object*)>* dealloc = nullptr;
};

Seams& seams() {
    static Seams s;
    return s;
}

template <class T> std::shared_ptr<MessageCriterion> made(Class& cls) {
    std::unique_ptr<Object> object = cls.createInstance();
    auto* criterion = dynamic_cast<MessageCriterion*>(object.get());
    if (!criterion)
        return nullptr;
    object.release();
    return std::shared_ptr<MessageCriterion>(criterion);
}

MessageCriterion* asCriterion(Object* self) {
    return dynamic_cast<MessageCriterion*>(self);
}

} // namespace

Class& MessageCriterion::registerClass() {
    Seams& s = seams();
    Class& cls = Runtime::defineClass(kClassName);
    if (s.cls)
        return cls;
    s.cls = &cls;
    using K = Seam<int(Class*, std::string)>::Kind;
    s.typeForString = new Seam<int(Class*, std::string)>(
        cls, "criterionTypeForString:", &hostCriterionTypeForString, K::ClassMethod);
    s.stringForType =
        new Seam<std::string(Class*, int)>(cls, "stringForCriterionType:", &hostStringForCriterionType,
                                           Seam<std::string(Class*, int)>::Kind::ClassMethod);
    s.satisfies = new Seam<bool(Object*, Message*)>(
        cls, "doesMessageSatisfyCriterion:", &hostDoesMessageSatisfyCriterion);
    s.containsBody = new Seam<bool(Object*)>(cls, "containsBodyCriterion", &hostContainsBodyCriterion);
    s.isValid = new Seam<bool(Object*, std::string*)>(cls, "isValid:", &hostIsValid);
    s.dealloc = new Seam<void(Object*)>(cls, "dealloc", &hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<MessageCriterion>(c); });
    // Criteria come with the step that prepares them for a search, so that a bundle
    // replacing it finds it wherever the host defined its criteria.
    CriterionFixing::registerClass();
    return cls;
}

std::shared_ptr<MessageCriterion> MessageCriterion::create() {
    return made<MessageCriterion>(registerClass());
}

std::shared_ptr<MessageCriterion> MessageCriterion::withDictionary(const Dictionary& dictionary) {
    auto criterion = create();
    if (criterion)
        criterion->initWithDictionary(dictionary);
    return criterion;
}

MessageCriterion::~MessageCriterion() {
    if (seams().dealloc)
        (*seams().dealloc)(this);
}

Dictionary MessageCriterion::dictionaryRepresentation() const {
    Dictionary out;
    out.set(kIdentifierKey, identifier_.empty() ? stringForCriterionType(type_) : identifier_);
    out.set(kQualifierKey, qualifier_);
    if (expression_)
        out.set(kExpressionKey, *expression_);
    if (type_ == kCompoundType || !criteria_.empty()) {
        Array subs;
        for (const auto& sub : criteria_)
            if (sub)
                subs.add(sub->dictionaryRepresentation());
        out.set(kCriteriaKey, subs);
        out.set(kAllKey, all_ ? "YES" : "NO");
    }
    return out;
}

void MessageCriterion::initWithDictionary(const Dictionary& dictionary) {
    identifier_ = dictionary.get(kIdentifierKey).stringValue();
    type_ = criterionTypeForString(identifier_);
    qualifier_ = static_cast<int>(dictionary.get(kQualifierKey).integerValue());
    const Value expression = dictionary.get(kExpressionKey);
    expression_ = expression.isNull() ? std::nullopt : std::optional<std::string>(expression.stringValue());
    const Value all = dictionary.get(kAllKey);
    // Saved booleans are "YES" and "NO"; a real boolean or a number reads as well.
    all_ = all.isNull() || (all.isString() ? all.stringValue() == "YES" : all.boolValue());
    criteria_.clear();
    const Value subsValue = dictionary.get(kCriteriaKey);
    if (const Array* subs = subsValue.array())
        for (const Value& sub : subs->items())
            if (const Dictionary* d = sub.dictionary())
                if (auto made = MessageRuleCriterion::withDictionary(*d))
                    criteria_.push_back(std::move(made));
}

int MessageCriterion::criterionTypeForString(const std::string& identifier) {
    registerClass();
    return (*seams().typeForString)(seams().cls, identifier);
}

std::string MessageCriterion::stringForCriterionType(int type) {
    registerClass();
    return (*seams().stringForType)(seams().cls, type);
}

bool MessageCriterion::doesMessageSatisfyCriterion(Message* message) {
    return (*seams().satisfies)(this, message);
}

bool MessageCriterion::containsBodyCriterion() {
    return (*seams().containsBody)(this);
}

bool MessageCriterion::isValid(std::string* why) {
    return (*seams().isValid)(this, why);
}

int MessageCriterion::hostCriterionTypeForString(Class*, Sel, std::string identifier) {
    return HostCriteria::typeForIdentifier(identifier);
}

std::string MessageCriterion::hostStringForCriterionType(Class*, Sel, int type) {
    return HostCriteria::identifierForType(type);
}

bool MessageCriterion::hostDoesMessageSatisfyCriterion(Object* self, Sel, Message* message) {
    MessageCriterion* criterion = asCriterion(self);
    if (!criterion)
        return false;
    if (criterion->type_ != kCompoundType)
        return HostCriteria::evaluate(*criterion, message);
    // Each sub-criterion is asked through the seam, so that types a bundle adds are
    // answered inside compounds too. An empty compound holds for "all", not for "any".
    for (const auto& sub : criterion->criteria_) {
        const bool holds = sub && sub->doesMessageSatisfyCriterion(message);
        if (holds != criterion->all_)
            return holds;
    }
    return criterion->all_;
}

bool MessageCriterion::hostContainsBodyCriterion(Object* self, Sel) {
    MessageCriterion* criterion = asCriterion(self);
    if (!criterion)
        return false;
    if (criterion->type_ != kCompoundType)
        return HostCriteria::needsBody(*criterion);
    for (const auto& sub : criterion->criteria_)
        if (sub && sub->containsBodyCriterion())
            return true;
    return false;
}

bool MessageCriterion::hostIsValid(Object* self, Sel, std::string* why) {
    MessageCriterion* criterion = asCriterion(self);
    if (!criterion)
        return false;
    if (criterion->type_ != kCompoundType)
        return HostCriteria::isValid(*criterion, why);
    for (const auto& sub : criterion->criteria_)
        if (sub && !sub->isValid(why))
            return false;
    return true;
}

Class& MessageRuleCriterion::registerClass() {
    Class& cls = Runtime::defineClass(kClassName, &MessageCriterion::registerClass());
    cls.setFactory([](Class* c) { return std::make_unique<MessageRuleCriterion>(c); });
    return cls;
}

std::shared_ptr<MessageCriterion> MessageRuleCriterion::create() {
    return made<MessageRuleCriterion>(registerClass());
}

std::shared_ptr<MessageCriterion> MessageRuleCriterion::withDictionary(const Dictionary& dictionary) {
    auto criterion = create();
    if (criterion)
        criterion->initWithDictionary(dictionary);
    return criterion;
}

} // namespace mailhost
