#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Message.h"

#include <memory>
#include <optional>
#include <string>

namespace criteriatest {

// A message held in memory, as a bundle or a test hands one to a criterion.
class TextMessage : public mailhost::Message {
public:
    explicit TextMessage(std::string bytes, std::uint64_t flags = 0)
        : Message(&Message::registerClass()), bytes_(std::move(bytes)) {
        setFlags(flags);
    }
    platform::Result<std::string> messageBytes() const override { return bytes_; }

private:
    std::string bytes_;
};

// A rule criterion as the host reads one: its type from the identifier.
inline std::shared_ptr<mailhost::MessageCriterion> criterion(const std::string& identifier, int qualifier,
                                                             std::optional<std::string> expression) {
    auto made = mailhost::MessageRuleCriterion::create();
    made->setCriterionIdentifier(identifier);
    made->setCriterionType(mailhost::MessageCriterion::criterionTypeForString(identifier));
    made->setQualifier(qualifier);
    made->setExpression(std::move(expression));
    return made;
}

} // namespace criteriatest

#include "mailhost/criteria/CriterionFixing.h"
#include "platform/runtime/Runtime.h"

namespace criteriatest {

// Puts another implementation in `+[Library fixCriterion:]` for the life of the object,
// as a bundle's replacement would, and puts the previous one back after.
class ScopedFixCriterion {
public:
    using Imp = std::shared_ptr<mailhost::MessageCriterion> (*)(platform::runtime::Class*,
                                                                platform::runtime::Sel,
                                                                std::shared_ptr<mailhost::MessageCriterion>);
    explicit ScopedFixCriterion(Imp imp) {
        mailhost::CriterionFixing::registerClass();
        method_ = platform::runtime::Runtime::classNamed("Library")->classMethod(
            mailhost::CriterionFixing::kSelector);
        previous_ = method_->exchange(reinterpret_cast<void (*)()>(imp));
    }
    ~ScopedFixCriterion() { method_->exchange(previous_); }
    ScopedFixCriterion(const ScopedFixCriterion&) = delete;
    ScopedFixCriterion& operator=(const ScopedFixCriterion&) = delete;

private:
    platform::runtime::Method* method_ = nullptr;
    void (*previous_)() = nullptr;
};

} // namespace criteriatest
