#include "lumetta/viewer/BulkTagCommands.h"

#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "lumetta/viewer/DueDateShift.h"
#include "lumetta/viewer/NoteText.h"
#include "lumetta/viewer/ViewerCommandFrame.h"
#include "platform/runtime/Send.h"

namespace lumetta {

using mailhost::Message;
using mailhost::MessageViewer;
using platform::Array;
using platform::Dictionary;
using platform::Value;
using Step = ViewerCommandFrame::Step;

namespace {

// The calendar client's operation on a message, reached by selector so that clearing
// works whether or not the calendar link is part of this build.
constexpr const char* kDeleteToDo = "lumettaDeleteToDoInICal";

bool isEmptyList(const Value& keywords) {
    return !keywords.array() || keywords.array()->empty();
}

Array keywordsCopy(const Dictionary& record) {
    const Value current = record.get(TagKeys::kKeyWords);
    return current.array() ? current.array()->mutableCopy() : Array();
}

} // namespace

void BulkTagCommands::addKeywords(MessageViewer& viewer, const Value& keywords) {
    if (isEmptyList(keywords))
        return;
    const Array& added = *keywords.array();
    ViewerCommandFrame::runWithoutRemovals(viewer, [&](Message&, Dictionary& record) {
        Array list = keywordsCopy(record);
        for (const Value& keyword : added.items())
            if (!list.contains(keyword))
                list.add(keyword);
        record.set(TagKeys::kKeyWords, list);
    });
}

void BulkTagCommands::removeKeywords(MessageViewer& viewer, const Value& keywords) {
    if (isEmptyList(keywords))
        return;
    const Array& removed = *keywords.array();
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet& removals) {
        Array list = keywordsCopy(record);
        if (list.empty())
            return Step::Skip;
        for (const Value& keyword : removed.items())
            list.remove(keyword);
        if (list.empty())
            removals.remove(record, TagKeys::kKeyWords);
        else
            record.set(TagKeys::kKeyWords, list);
        return Step::Store;
    });
}

void BulkTagCommands::setKeywords(MessageViewer& viewer, const Value& keywords) {
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet& removals) {
        if (keywords.isNull())
            removals.remove(record, TagKeys::kKeyWords);
        else
            record.set(TagKeys::kKeyWords, keywords);
        return Step::Store;
    });
}

void BulkTagCommands::clearKeywords(MessageViewer& viewer) {
    ViewerCommandFrame::run(viewer, [](Message&, Dictionary& record, RemovalSet& removals) {
        removals.remove(record, TagKeys::kKeyWords);
        return Step::Store;
    });
}

void BulkTagCommands::setProject(MessageViewer& viewer, const Value& project) {
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet& removals) {
        if (project.isNull())
            removals.remove(record, TagKeys::kProject);
        else
            record.set(TagKeys::kProject, project);
        return Step::Store;
    });
}

void BulkTagCommands::setPriority(MessageViewer& viewer, int priority) {
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet& removals) {
        if (priority == 0)
            removals.remove(record, TagKeys::kPriority);
        else
            record.set(TagKeys::kPriority, priority);
        return Step::Store;
    });
}

void BulkTagCommands::setDueDate(MessageViewer& viewer, const Value& dateOrWord) {
    if (dateOrWord.isNull())
        return;
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet& removals) {
        if (dateOrWord.isDate()) {
            record.set(TagKeys::kDueDate, dateOrWord);
            record.set(TagKeys::kDueDateState, 1);
        } else if (dateOrWord.stringValue() == "None") {
            removals.remove(record, TagKeys::kDueDate);
            removals.remove(record, TagKeys::kDueDateState);
        } else {
            record.set(TagKeys::kDueDateState, dateOrWord.stringValue() == "Off" ? 0 : 1);
        }
        return Step::Store;
    });
}

void BulkTagCommands::moveDueDate(MessageViewer& viewer, const Value& days, bool useToday) {
    if (days.isNull())
        return;
    const int offset = days.intValue();
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet&) {
        const Value due = record.get(TagKeys::kDueDate);
        const Value state = record.get(TagKeys::kDueDateState);
        if (due.isDate() && !state.isNull() && state.intValue() != 0) {
            record.set(TagKeys::kDueDate, DueDateShift::shifted(*due.date(), offset));
        } else if (useToday) {
            // Today with its time of day: a date switched off counts as no date at all.
            record.set(TagKeys::kDueDate, DueDateShift::shifted(platform::Clock::now(), offset));
            record.set(TagKeys::kDueDateState, 1);
        }
        return Step::Store;
    });
}

void BulkTagCommands::writeNote(MessageViewer& viewer, const std::string& note, int placement) {
    ViewerCommandFrame::run(viewer, [&](Message&, Dictionary& record, RemovalSet& removals) {
        if (note.empty() && placement == NoteText::Replace) {
            removals.remove(record, TagKeys::kAnnotation);
        } else if (placement >= NoteText::Before) {
            const Value existing = record.get(TagKeys::kAnnotation);
            record.set(TagKeys::kAnnotation, NoteText::placed(note, existing.stringValue(), placement));
        } else if (placement == NoteText::Replace) {
            record.set(TagKeys::kAnnotation, note);
        }
        return Step::Store;
    });
}

void BulkTagCommands::clearAll(MessageViewer& viewer) {
    const mailhost::MessageList selection = viewer.selectedMessages();
    for (const auto& message : selection) {
        if (message)
            ViewerCommandFrame::editOne(*message, [](Message& m, Dictionary& record, RemovalSet& removals) {
                for (const char* key :
                     {TagKeys::kICalToDoTitle, TagKeys::kICalToDoCompleted, TagKeys::kProject,
                      TagKeys::kPriority, TagKeys::kDueDate, TagKeys::kDueDateState, TagKeys::kAnnotation,
                      TagKeys::kKeyWords, TagKeys::kGeneralFlag})
                    record.remove(key);
                for (const char* key :
                     {TagKeys::kProject, TagKeys::kKeyWords, TagKeys::kPriority, TagKeys::kDueDate,
                      TagKeys::kDueDateState, TagKeys::kAnnotation, TagKeys::kGeneralFlag, TagKeys::kICalUID,
                      TagKeys::kICalToDoTitle, TagKeys::kICalToDoCompleted})
                    removals.add(key);
                removals.storeIn(record);
                // The to-do goes first: deleting it needs the link.
                if (!MessageTags::lumettaExtraDataForKey(m, TagKeys::kICalUID).isNull()) {
                    platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(&m), kDeleteToDo);
                    record.remove(TagKeys::kICalUID);
                }
                return Step::Store;
            });
        // Once per message, whether or not it had a record: the repetition is kept
        // because the panels and the list rely on a notice per message.
        ViewerCommandFrame::closingSteps(selection);
    }
}

} // namespace lumetta
