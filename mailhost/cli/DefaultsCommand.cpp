#include "mailhost/cli/DefaultsCommand.h"

namespace mailhost {

using platform::Array;
using platform::Value;

int DefaultsCommand::read(platform::UserDefaults& defaults, const std::string& key, std::ostream& out,
                          std::ostream& err) {
    if (key.empty()) {
        out << Value(defaults.persistentDomainForName(defaults.domain())).description() << "\n";
        return 0;
    }
    const Value v = defaults.persistentDomainForName(defaults.domain()).get(key);
    if (v.isNull()) {
        err << "The domain/default pair of (" << defaults.domain() << ", " << key << ") does not exist\n";
        return 1;
    }
    out << v.description() << "\n";
    return 0;
}

int DefaultsCommand::write(platform::UserDefaults& defaults, const std::string& key,
                           const std::vector<std::string>& words, std::ostream& err) {
    if (words.empty()) {
        err << "defaults write: a value is needed for " << key << "\n";
        return 2;
    }
    const std::string& type = words[0];
    const bool typed = type == "-int" || type == "-integer" || type == "-bool" || type == "-boolean" ||
                       type == "-string" || type == "-array";
    if (typed && words.size() < 2 && type != "-array") {
        err << "defaults write: " << type << " needs a value\n";
        return 2;
    }
    Value value;
    if (type == "-int" || type == "-integer") {
        const std::string& text = words[1];
        std::size_t used = 0;
        long long n = 0;
        try {
            n = std::stoll(text, &used);
        } catch (...) {
            used = 0;
        }
        if (used == 0 || used != text.size()) {
            err << "defaults write: \"" << text << "\" is not an integer\n";
            return 2;
        }
        value = Value(n);
    } else if (type == "-bool" || type == "-boolean") {
        const std::string& text = words[1];
        if (text == "YES" || text == "yes" || text == "true" || text == "1")
            value = Value(true);
        else if (text == "NO" || text == "no" || text == "false" || text == "0")
            value = Value(false);
        else {
            err << "defaults write: \"" << text << "\" is not a boolean (YES or NO)\n";
            return 2;
        }
    } else if (type == "-array") {
        Array items;
        for (std::size_t i = 1; i < words.size(); ++i)
            items.add(words[i]);
        value = items;
    } else {
        if (!typed && words.size() > 1) {
            err << "defaults write: one value expected; quote it or use -array\n";
            return 2;
        }
        value = Value(typed ? words[1] : words[0]);
    }
    defaults.setObject(value, key);
    if (auto r = defaults.synchronize(); !r) {
        err << "defaults write: " << r.error().message << "\n";
        return 1;
    }
    return 0;
}

int DefaultsCommand::remove(platform::UserDefaults& defaults, const std::string& key, std::ostream& err) {
    if (defaults.persistentDomainForName(defaults.domain()).get(key).isNull()) {
        err << "The domain/default pair of (" << defaults.domain() << ", " << key << ") does not exist\n";
        return 1;
    }
    defaults.removeObjectForKey(key);
    if (auto r = defaults.synchronize(); !r) {
        err << "defaults delete: " << r.error().message << "\n";
        return 1;
    }
    return 0;
}

} // namespace mailhost
