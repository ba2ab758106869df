#pragma once

#include "mailhost/mail/Library.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <set>
#include <vector>

namespace mailhost {

// What a command's saves left unwritten, gathered from the library as the command
// goes and told to the user at the end: how many messages, and the first reasons.
class SaveFailures {
public:
    static constexpr std::size_t kReasonsShown = 5;

    // Takes what the library has recorded since the last call.
    void collect();
    bool empty() const { return failures_.empty(); }
    // Distinct messages not saved.
    std::size_t messages() const { return rows_.size(); }
    bool contains(std::int64_t rowid) const { return rows_.contains(rowid); }
    // "lumetta: 3 messages were not saved:" and up to kReasonsShown lines naming them.
    void print(std::ostream& err) const;

private:
    std::vector<Library::WriteFailure> failures_;
    std::set<std::int64_t> rows_;
};

} // namespace mailhost
