#include "platform/spotlight/query/QueryParser.h"

#include "platform/spotlight/query/QueryError.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace platform::spotlight {
namespace {

std::string describe(const QueryValue& value) {
    char number[32];
    std::snprintf(number, sizeof number, "%g", value.number);
    switch (value.kind) {
    case QueryValue::Kind::String:
        return "\"" + value.text + "\"" + (value.modifiers.caseInsensitive ? "c" : "") +
               (value.modifiers.diacriticInsensitive ? "d" : "") + (value.modifiers.wordBased ? "w" : "");
    case QueryValue::Kind::Number:
        return std::string("#") + number;
    case QueryValue::Kind::Time:
        break;
    }
    if (value.time == TimeFunction::Iso) {
        std::snprintf(number, sizeof number, "%g", value.iso.seconds);
        return std::string("iso(") + number + ")";
    }
    static const char* names[] = {"now", "today", "yesterday", "this_week", "this_month", "this_year"};
    return std::string(names[static_cast<int>(value.time)]) + "(" + number + ")";
}

// The tree as an s-expression, so that a table can say what a query means.
std::string describe(const QueryNode& node) {
    static const char* operators[] = {"==", "!=", "<", ">", "<=", ">="};
    std::string out;
    switch (node.kind) {
    case QueryNode::Kind::True:
        return "true";
    case QueryNode::Kind::False:
        return "false";
    case QueryNode::Kind::Comparison:
        return std::string("(") + operators[static_cast<int>(node.op)] + " " + node.attribute + " " +
               describe(node.values.at(0)) + ")";
    case QueryNode::Kind::InRange:
        return "(range " + node.attribute + " " + describe(node.values.at(0)) + " " +
               describe(node.values.at(1)) + ")";
    case QueryNode::Kind::Not:
        out = "(not";
        break;
    case QueryNode::Kind::And:
        out = "(and";
        break;
    case QueryNode::Kind::Or:
        out = "(or";
        break;
    }
    for (const QueryNode& child : node.children)
        out += " " + describe(child);
    return out + ")";
}

std::string parsed(const std::string& query) {
    auto tree = QueryParser::parse(query);
    return tree.ok() ? describe(tree.value()) : "error: " + tree.error().message;
}

// Spacing, quoting, escapes and precedence, as people and templates write them.
TEST(QueryParser, ReadsQueries) {
    struct Case {
        const char* query;
        const char* tree;
    };
    const Case cases[] = {
        {"kMDItemKeywords == \"Work\"cd", "(== kMDItemKeywords \"Work\"cd)"},
        {"kMDItemProjects != \"*\"cd ", "(!= kMDItemProjects \"*\"cd)"},
        {"kMDItemKeywords !=\"*\"cd", "(!= kMDItemKeywords \"*\"cd)"},
        {"(kMDItemKeywords != \"x\"cd || kMDItemKeywords !=\"*\"cd) ",
         "(or (!= kMDItemKeywords \"x\"cd) (!= kMDItemKeywords \"*\"cd))"},
        {"kMDItemDueDate>$time.today && kMDItemDueDate<$time.today(3)",
         "(and (> kMDItemDueDate today(0)) (< kMDItemDueDate today(3)))"},
        {"InRange(kMDItemDueDate, $time.today, $time.today(7))", "(range kMDItemDueDate today(0) today(7))"},
        {"* == \"apollo\"cd", "(== * \"apollo\"cd)"},
        {"a\n==\t'x'wdc", "(== a \"x\"cdw)"},
        {"a = 'it\\'s'", "(== a \"it's\")"},
        {"a == \"say \\\"hi\\\"\"", "(== a \"say \"hi\"\")"},
        {"a == \"5\\* or \\\\\"", "(== a \"5\\* or \\\\\")"},
        {"a == -2.5e1", "(== a #-25)"},
        {"a <= 1 && b >= +2 && c < .5 && d > 4", "(and (<= a #1) (>= b #2) (< c #0.5) (> d #4))"},
        {"a==1&&b==2||c==3", "(or (and (== a #1) (== b #2)) (== c #3))"},
        {"a==1||b==2&&c==3", "(or (== a #1) (and (== b #2) (== c #3)))"},
        {"!a==1", "(not (== a #1))"},
        {"!!(a==1 || true)", "(not (not (or (== a #1) true)))"},
        {"  false  ", "false"},
        {"a == $time.iso(2001-01-01T00:01:00Z)", "(== a iso(60))"},
        {"a == $time.now(-90)", "(== a now(-90))"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(parsed(c.query), c.tree) << c.query;
}

// Text that does not read is an error at the offending byte, never a tree.
TEST(QueryParser, ReportsWhereTheQueryGoesWrong) {
    struct Case {
        const char* query;
        std::size_t position;
        const char* says;
    };
    const Case cases[] = {
        {"kMDItemKeywords == \"Work", 19, "never closed"},
        {"(kMDItemKeywords == \"x\"", 0, "never closed"},
        {"a == \"x\")", 8, "closes nothing"},
        {"a == $time.tomorrow", 5, "unknown time function"},
        {"a == $time.today(1.5)", 17, "whole units"},
        {"a == $time.today(\"1\")", 17, "expected a number"},
        {"a == $time.iso(2026-02-30)", 15, "ISO 8601"},
        {"a == $time.iso", 5, "needs a date"},
        {"a == $time.today(3", 16, "never closed"},
        {"a & b == 1", 2, "unknown operator '&'"},
        {"a | b", 2, "unknown operator '|'"},
        {"a ~= \"x\"", 2, "unexpected '~'"},
        {"a == \"x\" b == \"y\"", 9, "expected && or ||"},
        {"a == \"x\"q", 8, "unknown modifier 'q'"},
        {"a \"x\"", 2, "expected a comparison"},
        {"a ==", 4, "expected a value"},
        {"a === 1", 4, "expected a value"},
        {"== \"x\"", 0, "expected an attribute name"},
        {"", 0, "expected an attribute name"},
        {"a == \"x\" &&", 11, "expected an attribute name"},
        {"a == 1e999", 5, "out of range"},
        {"InRange(a, 1)", 12, "expected ','"},
        {"$", 0, "expected a name"},
        {"a == \u201Cx\u201D", 5, "unexpected byte 0xE2"},
    };
    for (const Case& c : cases) {
        auto tree = QueryParser::parse(c.query);
        ASSERT_FALSE(tree.ok()) << c.query;
        EXPECT_EQ(QueryError::position(tree.error()), c.position) << c.query << ": " << tree.error().message;
        EXPECT_NE(tree.error().message.find(c.says), std::string::npos)
            << c.query << ": " << tree.error().message;
    }
}

// Nesting is bounded, so a hostile query is refused rather than run out of stack; a long flat
// chain is no nesting at all.
TEST(QueryParser, BoundsNesting) {
    const auto nested = [](int depth, const std::string& open, const std::string& close) {
        std::string query;
        for (int i = 0; i < depth; ++i)
            query += open;
        query += "a==1";
        for (int i = 0; i < depth; ++i)
            query += close;
        return query;
    };
    EXPECT_TRUE(QueryParser::parse(nested(QueryParser::kMaxDepth, "(", ")")).ok());
    for (const std::string& query : {nested(QueryParser::kMaxDepth + 1, "(", ")"), nested(100000, "(", ")"),
                                     nested(100000, "!", ""), nested(100000, "!(", ")")}) {
        auto tree = QueryParser::parse(query);
        ASSERT_FALSE(tree.ok());
        EXPECT_NE(tree.error().message.find("nests deeper"), std::string::npos);
    }
    std::string chain = "a==1";
    for (int i = 0; i < 20000; ++i)
        chain += " && a==1";
    auto tree = QueryParser::parse(chain);
    ASSERT_TRUE(tree.ok());
    EXPECT_EQ(tree.value().children.size(), 20001u);
}

// The caret stands under the offending character, counted in characters, on its own line.
TEST(QueryParser, RendersErrorsWithACaret) {
    struct Case {
        const char* query;
        std::size_t position;
        const char* rendered;
    };
    const Case cases[] = {
        {"kMDItemKeywords == \"Work", 19, "kMDItemKeywords == \"Work\n                   ^ oops"},
        {"a == 1 &&\n  b ~ 2\n", 14, "  b ~ 2\n    ^ oops"},
        {"\u00E9 == \"x\" ~", 10, "\u00E9 == \"x\" ~\n         ^ oops"},
        {"\ta ~", 3, "\ta ~\n\t  ^ oops"},
        {"a", 99, "a\n ^ oops"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(QueryError::render(c.query, QueryError::at(c.position, "oops")), c.rendered) << c.query;
}

} // namespace
} // namespace platform::spotlight
