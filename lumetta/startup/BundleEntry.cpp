// The entry point the host calls right after loading the module.
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/startup/LumettaBundle.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"

extern "C" __attribute__((visibility("default"))) void MailBundleLoad(platform::runtime::Bundle* bundle) {
    lumetta::loadCategories();
    if (auto* cls = platform::runtime::Runtime::classNamed(lumetta::LumettaBundle::kClassName))
        platform::runtime::Bundle::setBundleForClass(cls, bundle);
}
