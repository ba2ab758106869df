#pragma once

#include "platform/foundation/Result.h"

#include <string>
#include <string_view>

namespace mailhost {

// The priority a person gives a message's tags, however it is typed (`lumetta tag
// --priority`, a rule's `priority=`): a whole number from 1 (low) to 5 (high), or 0
// to remove the priority. One reading for every way in, so that a rule cannot store a
// priority that tagging by hand refuses and no tag menu shows.
class TagPriority {
public:
    static constexpr int kHighest = 5;

    // `text` as a priority. The error begins with `given`, the words the person typed
    // (e.g. `--priority "9"`), and says what is accepted.
    [[nodiscard]] static platform::Result<int> read(std::string_view text, const std::string& given);
};

} // namespace mailhost
