#include "mailhost/HostClasses.h"

#include "mailhost/bundle/MVMailBundle.h"

namespace mailhost {

void registerHostClasses() {
    MVMailBundle::registerClass();
}

} // namespace mailhost
