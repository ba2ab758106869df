#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "platform/foundation/Result.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

// Criteria as a person types them: NAME OPERATOR VALUE (`keyword=Work`, `from~alice`,
// `priority>2`) or a bare word (`unread`). One table maps each typed form to the
// criterion's identifier, qualifier and expression; the criterion's type then comes from
// `criterionTypeForString:`, so the tag criteria are there exactly when the bundle that
// knows them is loaded. The table also turns criteria back into their typed form.
class CriterionSyntax {
public:
    // Error codes of read() and criterion(), as exit statuses: text that does not read,
    // and a criterion no loaded code provides.
    static constexpr int kNotReadable = 2;
    static constexpr int kNotAvailable = 1;

    struct Reading {
        std::string identifier;
        int qualifier = 0;
        std::optional<std::string> expression;
        friend bool operator==(const Reading&, const Reading&) = default;
    };

    // What the text means; an error (kNotReadable) saying what is wrong when it is not
    // one of the forms of help().
    [[nodiscard]] static platform::Result<Reading> read(std::string_view text);
    // A new criterion for the text; kNotAvailable when no one knows its identifier (a tag
    // criterion without the bundle).
    [[nodiscard]] static platform::Result<std::shared_ptr<MessageCriterion>> criterion(std::string_view text);
    // A compound criterion of all (or any) of the texts.
    [[nodiscard]] static platform::Result<std::shared_ptr<MessageCriterion>>
    compound(const std::vector<std::string>& texts, bool all);

    // The typed form of a criterion when the table has one (`keyword=Work`); otherwise a
    // description (`"X-Spam" is greater than "3"`, `any of (from~a, from~b)`).
    static std::string describe(const MessageCriterion& criterion);

    // The forms, one per line, for --help.
    static std::string help();
};

} // namespace mailhost
