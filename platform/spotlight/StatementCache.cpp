#include "platform/spotlight/StatementCache.h"

#include <utility>

namespace platform::spotlight {

StatementCache::Loan::~Loan() {
    if (statement_)
        statement_->reset();
}

StatementCache::Loan::Loan(Loan&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}

Result<StatementCache::Loan> StatementCache::get(const std::string& sql) {
    auto found = statements_.find(sql);
    if (found == statements_.end()) {
        auto prepared = db_.prepare(sql);
        if (!prepared)
            return prepared.error();
        found = statements_.emplace(sql, std::move(prepared.value())).first;
    }
    return Loan(found->second);
}

} // namespace platform::spotlight
