#include "mailhost/HostClasses.h"

#include "mailhost/bundle/MVMailBundle.h"
#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/mail/LibraryStore.h"
#include "mailhost/mail/MailAccount.h"
#include "mailhost/mail/Matador.h"
#include "mailhost/mail/MessageStore.h"
#include "mailhost/mail/MessageWriter.h"
#include "mailhost/mail/OutgoingMessage.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "mailhost/rules/ConcreteMessageMall.h"
#include "mailhost/viewer/Menu.h"
#include "mailhost/viewer/MessageViewer.h"

namespace mailhost {

void registerHostClasses() {
    MVMailBundle::registerClass();
    LibraryIMAPMessage::registerClass(); // with Message and LibraryMessage
    RecoveredMessage::registerClass();
    OutgoingMessage::registerClass();
    Library::registerClass();
    LibraryStore::registerClass();
    MessageWriter::registerClass();
    MailAccount::registerClass();
    MessageStore::registerClass();
    Matador::registerClass();
    MessageRuleCriterion::registerClass(); // with MessageCriterion
    MessageViewer::registerClass();        // with MessageContentController and TableViewManager
    Menu::registerClass();
    MenuItem::registerClass();
    ConcreteMessageMall::registerClass(); // with MessageMall, MessageRule and MFError
}

} // namespace mailhost
