#include "platform/foundation/PropertyList.h"

#include "platform/foundation/PropertyListGuard.h"
#include "platform/foundation/PropertyListXmlReader.h"

#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace platform {

namespace {

struct PlistDeleter {
    void operator()(void* node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// The guard has bounded the depth, so plain recursion is safe here.
Value convert(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t b = 0;
        plist_get_bool_val(node, &b);
        return Value(b != 0);
    }
    case PLIST_UINT: {
        // The library keeps every integer as 64 unsigned bits; files hold signed
        // values (negative dates, -1 markers) far more often than values above
        // INT64_MAX, so the bits are read as signed.
        std::uint64_t u = 0;
        plist_get_uint_val(node, &u);
        return Value(static_cast<long long>(u));
    }
    case PLIST_REAL: {
        double d = 0;
        plist_get_real_val(node, &d);
        return Value(d);
    }
    case PLIST_STRING:
    case PLIST_KEY: {
        std::uint64_t length = 0;
        const char* p = plist_get_string_ptr(node, &length);
        return Value(std::string(p ? p : "", p ? length : 0));
    }
    case PLIST_DATE: {
        std::int32_t sec = 0, usec = 0;
        plist_get_date_val(node, &sec, &usec);
        return Value(Date{static_cast<double>(sec) + static_cast<double>(usec) / 1e6});
    }
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* p = plist_get_data_ptr(node, &length);
        Data data;
        if (p)
            data.bytes.assign(reinterpret_cast<const std::uint8_t*>(p),
                              reinterpret_cast<const std::uint8_t*>(p) + length);
        return Value(std::move(data));
    }
    case PLIST_ARRAY: {
        const std::uint32_t n = plist_array_get_size(node);
        std::vector<Value> items;
        items.reserve(n);
        for (std::uint32_t i = 0; i < n; ++i)
            items.push_back(convert(plist_array_get_item(node, i)));
        return Value(Array(std::move(items)));
    }
    case PLIST_DICT: {
        Dictionary dict;
        plist_dict_iter iter = nullptr;
        plist_dict_new_iter(node, &iter);
        for (;;) {
            char* key = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(node, iter, &key, &item);
            if (!item) {
                std::free(key);
                break;
            }
            dict.set(key ? key : "", convert(item));
            std::free(key);
        }
        std::free(iter);
        return Value(std::move(dict));
    }
    case PLIST_UID: {
        // Keyed archives' object references, in the form XML lists spell them.
        std::uint64_t uid = 0;
        plist_get_uid_val(node, &uid);
        return Value(Dictionary{{"CF$UID", Value(static_cast<long long>(uid))}});
    }
    default:
        return Value();
    }
}

} // namespace

Result<Value> PropertyList::parse(std::string_view bytes) {
    return parse(
        std::span<const std::uint8_t>(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

Result<Value> PropertyList::parse(std::span<const std::uint8_t> bytes) {
    if (bytes.empty())
        return makeError("property list is empty");
    if (bytes.size() > kMaxInputBytes)
        return makeError("property list is larger than " + std::to_string(kMaxInputBytes) + " bytes");
    if (!PropertyListGuard::looksBinary(bytes))
        return PropertyListXmlReader(
                   std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), kMaxDepth)
            .read();

    // Binary lists go through libplist, behind a check of their structure.
    LUMETTA_TRY_VOID(PropertyListGuard(kMaxDepth, kMaxObjects).checkBinary(bytes));
    plist_t root = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()),
                   &root);
    PlistPtr owner(root);
    if (!root)
        return makeError("binary property list does not parse");
    return convert(root);
}

} // namespace platform
