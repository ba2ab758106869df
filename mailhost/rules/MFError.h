#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <optional>
#include <string>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Sel;

// An error the client shows to the user: what went wrong (the description) under a
// title, with the help page that explains it (the help tag, "tag:mlhlp1017"), in a
// domain with a code that callers can branch on.
class MFError : public Object {
public:
    static constexpr const char* kClassName = "MFError";
    // The domain of the errors about messages and rules.
    static constexpr const char* kMessageErrorDomain = "MFMessageErrorDomain";

    // Defines "MFError" and its class method
    //   errorWithDomain:code:localizedDescription:title:helpTag:userInfo:
    //       std::shared_ptr<MFError>(Class*, Sel, std::string domain, int code,
    //           std::string description, std::string title,
    //           std::optional<std::string> helpTag, std::optional<platform::Dictionary> userInfo)
    static Class& registerClass();

    static std::shared_ptr<MFError> errorWithDomain(std::string domain, int code, std::string description,
                                                    std::string title, std::optional<std::string> helpTag,
                                                    std::optional<platform::Dictionary> userInfo);

    explicit MFError(Class* cls) : Object(cls) {}

    const std::string& domain() const { return domain_; }
    int code() const { return code_; }
    const std::string& localizedDescription() const { return description_; }
    const std::string& title() const { return title_; }
    const std::optional<std::string>& helpTag() const { return helpTag_; }
    const std::optional<platform::Dictionary>& userInfo() const { return userInfo_; }

    static std::shared_ptr<MFError> hostErrorWithDomain(Class*, Sel, std::string domain, int code,
                                                        std::string description, std::string title,
                                                        std::optional<std::string> helpTag,
                                                        std::optional<platform::Dictionary> userInfo);

private:
    std::string domain_;
    int code_ = 0;
    std::string description_;
    std::string title_;
    std::optional<std::string> helpTag_;
    std::optional<platform::Dictionary> userInfo_;
};

} // namespace mailhost
