#pragma once

#include "mailhost/viewer/Pasteboard.h"

namespace mailhost {

// A drag in progress as a drop target sees it: where it comes from and what it carries.
class DraggingInfo {
public:
    DraggingInfo(Object* source, Pasteboard* pasteboard) : source_(source), pasteboard_(pasteboard) {}
    Object* draggingSource() const { return source_; }
    Pasteboard* draggingPasteboard() const { return pasteboard_; }

private:
    Object* source_;
    Pasteboard* pasteboard_;
};

} // namespace mailhost
