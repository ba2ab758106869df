#include "mailhost/viewer/DialogAnswers.h"

#include "platform/foundation/Value.h"

namespace mailhost {

DialogAnswers& DialogAnswers::shared() {
    static DialogAnswers answers;
    return answers;
}

void DialogAnswers::push(std::string dialog, platform::Dictionary answer) {
    std::lock_guard lock(mutex_);
    queue_.emplace_back(std::move(dialog), std::move(answer));
}

std::optional<platform::Dictionary> DialogAnswers::take(std::string_view dialog) {
    std::lock_guard lock(mutex_);
    for (auto it = queue_.begin(); it != queue_.end(); ++it)
        if (it->first == dialog) {
            platform::Dictionary answer = std::move(it->second);
            queue_.erase(it);
            return answer;
        }
    return std::nullopt;
}

std::size_t DialogAnswers::pending() const {
    std::lock_guard lock(mutex_);
    return queue_.size();
}

void DialogAnswers::clear() {
    std::lock_guard lock(mutex_);
    queue_.clear();
}

} // namespace mailhost
