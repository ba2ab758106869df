#pragma once

#include "platform/foundation/Result.h"
#include "platform/spotlight/MetadataStore.h"
#include "platform/spotlight/query/QueryNode.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace platform::spotlight {

class ComparisonEvaluator;

// Runs queries over a metadata index and answers with the paths of the items they select,
// sorted, or with how many there are. A query becomes one SQL statement (terms the index
// cannot decide alone are checked in memory first), so the cost of an answer grows with the
// hits only inside SQLite. A whole query reads one snapshot of the index, and its $time
// values are taken from one reading of the clock.
class QueryEvaluator {
public:
    explicit QueryEvaluator(const MetadataStore& store) : store_(store) {}

    // Query text that does not read gives the parser's error (with its offset), never items.
    [[nodiscard]] Result<std::vector<std::string>> evaluate(std::string_view query) const;
    [[nodiscard]] Result<std::vector<std::string>> evaluate(const QueryNode& query) const;
    // How many items the query selects.
    [[nodiscard]] Result<std::size_t> count(std::string_view query) const;
    [[nodiscard]] Result<std::size_t> count(const QueryNode& query) const;

private:
    const MetadataStore& store_;
};

} // namespace platform::spotlight
