#include "platform/sqlite/StatementCache.h"

#include "platform/sqlite/Database.h"

#include <utility>

namespace platform::sqlite {

StatementCache::Loan::~Loan() {
    if (owner_) {
        statement_.reset();
        owner_->giveBack(std::move(sql_), std::move(statement_));
    }
}

StatementCache::Loan::Loan(Loan&& other) noexcept
    : owner_(std::exchange(other.owner_, nullptr)), sql_(std::move(other.sql_)),
      statement_(std::move(other.statement_)) {}

Result<StatementCache::Loan> StatementCache::get(std::string_view sql) {
    std::string key(sql);
    {
        std::lock_guard lock(mutex_);
        if (auto found = idle_.find(key); found != idle_.end() && !found->second.empty()) {
            Statement statement = std::move(found->second.back());
            found->second.pop_back();
            return Loan(*this, std::move(key), std::move(statement));
        }
    }
    auto prepared = LUMETTA_TRY(db_.prepare(sql));
    return Loan(*this, std::move(key), std::move(prepared));
}

void StatementCache::giveBack(std::string sql, Statement statement) {
    std::lock_guard lock(mutex_);
    idle_[std::move(sql)].push_back(std::move(statement));
}

void StatementCache::clear() {
    std::lock_guard lock(mutex_);
    idle_.clear();
}

} // namespace platform::sqlite
