#pragma once

#include "platform/foundation/Result.h"

#include <gmime/gmime.h>
#include <memory>
#include <string>
#include <string_view>

// The host's single doorway to GMime. Only the message and import sources include
// this header, so GMime's C types never leak into the host's public interface.
namespace mailhost::gmime {

struct ObjectUnref {
    void operator()(gpointer object) const {
        if (object != nullptr) {
            g_object_unref(object);
        }
    }
};

// One reference to a GObject, dropped when the holder goes.
template <class T> using Ref = std::unique_ptr<T, ObjectUnref>;

struct FreeText {
    void operator()(char* text) const { g_free(text); }
};

// A string GMime allocated for us.
using OwnedText = std::unique_ptr<char, FreeText>;

// The parser options every reader shares; the first call initialises GMime (once per
// process, whichever thread gets there first). The options are only read afterwards.
// Undeclared 8-bit text is tried as UTF-8 first, then as Windows-1252 (a superset of
// Latin-1 in its printable range), which between them cover nearly all real mail.
GMimeParserOptions* parserOptions();

// Parses one message held in memory. Input that GMime cannot read as a message, or
// that has no header fields at all, is an error.
platform::Result<Ref<GMimeMessage>> parseMessage(std::string_view bytes);

// The bytes GMime writes for `object` (a message or a part).
platform::Result<std::string> serialise(GMimeObject* object);

// Copies a GMime-allocated string and frees it; null gives "".
std::string take(char* allocated);

} // namespace mailhost::gmime
