#include "mailhost/library/LibraryLayout.h"

#include <charconv>
#include <vector>

namespace mailhost {

namespace fs = std::filesystem;

fs::path LibraryLayout::mailboxFolder(const std::string& mailbox) const {
    // Built as one string, as `/` would build it: a listing asks for it once per message.
    std::string folder = root_.native();
    std::size_t start = 0;
    while (start <= mailbox.size()) {
        const auto slash = mailbox.find('/', start);
        const std::size_t end = slash == std::string::npos ? mailbox.size() : slash;
        if (!folder.empty() && folder.back() != '/')
            folder += '/';
        folder.append(mailbox, start, end - start).append(".mbox");
        if (slash == std::string::npos)
            break;
        start = slash + 1;
    }
    return fs::path(std::move(folder));
}

fs::path LibraryLayout::shardFolders(std::int64_t rowid) {
    const std::string digits = std::to_string(rowid / 1000);
    fs::path folders;
    if (rowid < 1000)
        return folders;
    for (auto it = digits.rbegin(); it != digits.rend(); ++it)
        folders /= std::string(1, *it);
    return folders;
}

fs::path LibraryLayout::messagesFolder(const std::string& mailbox, std::int64_t rowid, bool sharded) const {
    const fs::path box = mailboxFolder(mailbox);
    return sharded ? box / "Data" / shardFolders(rowid) / "Messages" : box / "Messages";
}

fs::path LibraryLayout::messagePath(const std::string& mailbox, std::int64_t rowid, bool sharded,
                                    bool partial) const {
    if (sharded)
        return messagesFolder(mailbox, rowid, sharded) /
               (std::to_string(rowid) + (partial ? ".partial.emlx" : ".emlx"));
    std::string path = mailboxFolder(mailbox).native();
    path += "/Messages/";
    path += std::to_string(rowid);
    path += partial ? ".partial.emlx" : ".emlx";
    return fs::path(std::move(path));
}

fs::path LibraryLayout::attachmentsFolder(const std::string& mailbox, std::int64_t rowid) const {
    return mailboxFolder(mailbox) / "Attachments" / std::to_string(rowid);
}

std::optional<LibraryLayout::Location> LibraryLayout::locate(const fs::path& file) const {
    Location where;
    std::string name = file.filename().string();
    if (name.ends_with(".partial.emlx")) {
        where.partial = true;
        name.resize(name.size() - 13);
    } else if (name.ends_with(".emlx")) {
        name.resize(name.size() - 5);
    } else {
        return std::nullopt;
    }
    const auto [end, ec] = std::from_chars(name.data(), name.data() + name.size(), where.rowid);
    if (ec != std::errc() || end != name.data() + name.size() || where.rowid <= 0)
        return std::nullopt;

    const fs::path relative = file.lexically_relative(root_);
    std::vector<std::string> parts;
    for (const auto& p : relative.parent_path())
        parts.push_back(p.string());
    if (parts.empty() || parts.front() == ".." || parts.back() != "Messages")
        return std::nullopt;
    parts.pop_back();
    // Sharded files sit under Data/<digits...>/ inside the mailbox folder.
    std::size_t boxEnd = parts.size();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] == "Data") {
            boxEnd = i;
            where.sharded = true;
            break;
        }
    }
    if (where.sharded && fs::path() / shardFolders(where.rowid) != [&] {
            fs::path digits;
            for (std::size_t i = boxEnd + 1; i < parts.size(); ++i)
                digits /= parts[i];
            return digits;
        }())
        return std::nullopt; // the folders do not match the row number
    if (boxEnd == 0)
        return std::nullopt;
    for (std::size_t i = 0; i < boxEnd; ++i) {
        if (!parts[i].ends_with(".mbox"))
            return std::nullopt;
        if (i > 0)
            where.mailbox += '/';
        where.mailbox += parts[i].substr(0, parts[i].size() - 5);
    }
    return where;
}

} // namespace mailhost
