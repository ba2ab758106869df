// Any bytes as a query: parsing either yields a tree or an error that points inside the
// text, and a tree always runs against an index without failing, whatever wildcards,
// quotes or full-text syntax the values hold.
#include "platform/spotlight/MetadataStore.h"
#include "platform/spotlight/query/QueryError.h"
#include "platform/spotlight/query/QueryEvaluator.h"
#include "platform/spotlight/query/QueryParser.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdlib.h>
#include <string_view>

using namespace platform;
using namespace platform::spotlight;

namespace {

// A small index that every input queries, made once per run in a folder of its own.
MetadataStore& sampleStore() {
    static std::unique_ptr<MetadataStore> store = [] {
        char folder[] = "/tmp/lumetta-fuzz-query-XXXXXX";
        if (::mkdtemp(folder) == nullptr)
            std::abort();
        static const std::filesystem::path root = folder;
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(root, ignored);
        });
        auto opened = MetadataStore::open(root);
        if (!opened)
            std::abort();
        MetadataStore& s = *opened.value();
        (void)s.setAttribute("/m/1", "kMDItemKeywords", Array{"Work", "Caf\u00E9"});
        (void)s.setAttribute("/m/1", "kMDItemStarRating", 3);
        (void)s.setAttribute("/m/1", "kMDItemDueDate", Date{800000000.0});
        (void)s.setTextContent("/m/1", "Please pay the \"invoice\" * before Friday.");
        (void)s.setAttribute("/m/2", "kMDItemSubject", "Stra\u00DFe ? lunch \\ team");
        (void)s.setTextContent("/m/2", "R\u00E9sum\u00E9 NEAR(apollo) OR x");
        return std::move(opened.value());
    }();
    return *store;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view query(reinterpret_cast<const char*>(data), size);
    auto tree = QueryParser::parse(query);
    if (!tree.ok()) {
        if (QueryError::position(tree.error()) > size)
            std::abort();
        (void)QueryError::render(query, tree.error());
        return 0;
    }
    if (!QueryEvaluator(sampleStore()).evaluate(tree.value()).ok())
        std::abort();
    return 0;
}
