#include "mailhost/rules/MFError.h"

#include "platform/runtime/Runtime.h"

namespace mailhost {

using platform::runtime::Runtime;

Class& MFError::registerClass() {
    static Class* defined = nullptr;
    Class& cls = Runtime::defineClass(kClassName);
    if (defined)
        return cls;
    defined = &cls;
    cls.addClassMethod("errorWithDomain:code:localizedDescription:title:helpTag:userInfo:",
                       &hostErrorWithDomain);
    cls.setFactory([](Class* c) { return std::make_unique<MFError>(c); });
    return cls;
}

std::shared_ptr<MFError> MFError::errorWithDomain(std::string domain, int code, std::string description,
                                                  std::string title, std::optional<std::string> helpTag,
                                                  std::optional<platform::Dictionary> userInfo) {
    Class& cls = registerClass();
    return hostErrorWithDomain(&cls, {}, std::move(domain), code, std::move(description), std::move(title),
                               std::move(helpTag), std::move(userInfo));
}

std::shared_ptr<MFError> MFError::hostErrorWithDomain(Class* cls, Sel, std::string domain, int code,
                                                      std::string description, std::string title,
                                                      std::optional<std::string> helpTag,
                                                      std::optional<platform::Dictionary> userInfo) {
    std::unique_ptr<Object> object = cls ? cls->createInstance() : nullptr;
    auto* made = dynamic_cast<MFError*>(object.get());
    std::shared_ptr<MFError> error;
    if (made) {
        object.release();
        error.reset(made);
    } else {
        // A factory that makes something else must not cost the user the message.
        error = std::make_shared<MFError>(&registerClass());
    }
    error->domain_ = std::move(domain);
    error->code_ = code;
    error->description_ = std::move(description);
    error->title_ = std::move(title);
    error->helpTag_ = std::move(helpTag);
    error->userInfo_ = std::move(userInfo);
    return error;
}

} // namespace mailhost
