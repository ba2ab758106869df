#pragma once

#include "mailhost/mail/Library.h"
#include "platform/foundation/Value.h"

#include <string>

namespace lumetta {

// How editors change the tags of many messages at once: each record is changed in
// memory (keeping its removal set as a single edit would), each message's index
// entry is brought in line, and then the host is told once about all of them and
// writes all their files in one go. One tag change per message through
// lumettaSetExtraData would instead write each file on its own.
class BulkTagChange {
public:
    // Changes one message's record (a null value removes the key, as a removal
    // would). Messages without a record are left alone; the result says whether the
    // message takes part in the closing save.
    bool set(const std::shared_ptr<mailhost::Message>& message, const std::string& key,
             platform::Value value);
    bool remove(const std::shared_ptr<mailhost::Message>& message, const std::string& key);

    // A message whose record the caller changed directly.
    void changed(const std::shared_ptr<mailhost::Message>& message);

    const mailhost::MessageList& messages() const { return changed_; }

    // Synchronises every changed message with the index, then one flags-changed
    // notice with all of them and one file update. Called once; does nothing when no
    // message changed.
    void commit();

private:
    mailhost::MessageList changed_;
};

} // namespace lumetta
