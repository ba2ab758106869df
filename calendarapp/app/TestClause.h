#pragma once

#include "calendarapp/app/ObjectRef.h"
#include "calendarapp/app/PropertyReader.h"
#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <optional>
#include <string>
#include <vector>

namespace calendarapp {

// The test of a 'test' specifier ("every to-do whose ..."): comparisons of one property of
// the object under test with a value, joined by logic.
//
//   'cmpd' {'relo': operator, 'obj1': prop(P, of 'exmn'), 'obj2': value}
//          operators '=   ' '>   ' '<   ' '>=  ' '<=  ' 'cont' 'bgwt' 'ends'; the value may
//          also come first ('obj1'), with the order operators turned round
//   'logi' {'logc': 'AND ' | 'OR  ' | 'NOT ', 'term': list of tests} ('NOT ' takes one)
//
// Text compares exactly, byte for byte in UTF-8, after reading the value as Mac OS Roman —
// except a UID, which clients send as UTF-8 bytes in 'TEXT'. Dates compare to the
// fraction of a second the store keeps. A property without a value, or a value of a kind
// the property cannot have, matches no comparison. A malformed test is errAEBadTestKey.
class TestClause {
public:
    struct Node {
        enum class Kind { Compare, And, Or, Not };
        Kind kind = Kind::Compare;
        OSType comparison = 0;
        OSType property = 0;
        platform::appleevents::AEDesc value;
        std::vector<Node> terms;
    };

    [[nodiscard]] static platform::Result<TestClause> parse(const platform::appleevents::AEDesc& test);

    // Fails only where a property cannot be read (one the object does not have).
    platform::Result<bool> matches(const ObjectRef& object, const PropertyReader& reader) const;

    // What every matching object must have, when the test says so on its own or in an
    // 'AND ': a stamp later than this date, so the store can skip older to-dos...
    std::optional<platform::Date> stampLaterThan() const;
    // ...or this UID.
    std::optional<std::string> uidEquals() const;

private:
    explicit TestClause(Node root) : root_(std::move(root)) {}

    Node root_;
};

} // namespace calendarapp
