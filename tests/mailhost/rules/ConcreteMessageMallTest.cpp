#include "mailhost/rules/ConcreteMessageMall.h"

#include "RuleTestSupport.h"
#include "mailhost/rules/AutoResponse.h"
#include "mailhost/rules/RuleScript.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace mailhost;
using platform::Value;
namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kRead = 1, kFlagged = 16;

class ConcreteMessageMallTest : public rulestest::RuleTest {
protected:
    ConcreteMessageMall::Outcome route(std::vector<std::shared_ptr<MessageRule>> rules,
                                       const MessageList& messages) {
        auto mall = ConcreteMessageMall::withRules(std::move(rules));
        return mall->route(messages, {"INBOX"});
    }
    std::vector<std::string> subjects(const std::string& mailbox) {
        std::vector<std::string> out;
        for (const auto& m : library_->messagesInMailbox(mailbox))
            out.push_back(m->subject());
        return out;
    }
    fs::path script(const std::string& name, const std::string& body) {
        const fs::path path = folder_.path() / name;
        testsupport::writeBytes(path, "#!/bin/sh\n" + body);
        ::chmod(path.c_str(), 0755);
        return path;
    }
};

// Moving copies into the destination (made when missing) and takes the original out of
// the mailbox, its file and its index entries; copying leaves it.
TEST_F(ConcreteMessageMallTest, MoveAndCopyFileMessagesAway) {
    auto invoice = add(1, "Invoice 1");
    auto note = add(2, "Note");
    const std::string invoicePath = invoice->path().string();
    const auto outcome = route({rulestest::typedRule("Archive", {"subject~Invoice"}, {"move=Archive/2026"}),
                                rulestest::typedRule("Keep", {}, {"copy=Everything"})},
                               {invoice, note});
    EXPECT_EQ(outcome.matched, 2u);
    EXPECT_EQ(outcome.moved, 1u);
    EXPECT_EQ(subjects("INBOX"), (std::vector<std::string>{"Note"}));
    EXPECT_EQ(subjects("Archive/2026"), (std::vector<std::string>{"Invoice 1"}));
    // A moved message is gone for the rules after the one that moved it.
    EXPECT_EQ(subjects("Everything"), (std::vector<std::string>{"Note"}));
    EXPECT_FALSE(fs::exists(invoicePath));
    EXPECT_FALSE(library_->index().message(invoice->libraryID()));
    EXPECT_FALSE(library_->metadata()->hasItem(invoicePath));
}

// Flags and colour go into the message files; the file keeps its other keys.
TEST_F(ConcreteMessageMallTest, FlagsAndColourAreWrittenIntoTheFiles) {
    auto message = add(1, "Budget");
    route({rulestest::typedRule("Mark", {}, {"flag", "mark-read", "color=red"})}, {message});
    auto plist = plistOf(*message);
    EXPECT_EQ(plist.get("flags").unsignedValue() & (kRead | kFlagged), kRead | kFlagged);
    EXPECT_EQ(plist.get("color"), Value("#FF0000"));
    EXPECT_TRUE(plist.contains("date-received"));
    route({rulestest::typedRule("Unflag", {}, {"unflag"})}, {library_->message(message->libraryID())});
    EXPECT_EQ(plistOf(*message).get("flags").unsignedValue() & (kRead | kFlagged), kRead);
}

// Rules run in order, each on the messages it matches; "stop" keeps later rules away.
TEST_F(ConcreteMessageMallTest, StopKeepsLaterRulesAway) {
    auto first = add(1, "x first");
    auto second = add(2, "y second");
    route({rulestest::typedRule("Stop", {"subject~x"}, {"flag", "stop"}),
           rulestest::typedRule("Copy", {}, {"copy=Later"})},
          {first, second});
    EXPECT_EQ(subjects("Later"), (std::vector<std::string>{"y second"}));
    EXPECT_EQ(plistOf(*first).get("flags").unsignedValue() & kFlagged, kFlagged);
}

// The program gets the files as arguments, unread by any shell; failures are logged.
TEST_F(ConcreteMessageMallTest, ScriptsGetTheMessageFiles) {
    const fs::path out = folder_.path() / "args.txt";
    const fs::path echo =
        script("echo args", "for a in \"$@\"; do printf '%s\\n' \"$a\" >> '" + out.string() + "'; done\n");
    auto a = add(1, "a"), b = add(2, "b");
    route({rulestest::typedRule("Run", {}, {("run=" + echo.string()).c_str()})}, {a, b});
    EXPECT_EQ(platform::AtomicFile::read(out).value(), a->path().string() + "\n" + b->path().string() + "\n");

    fs::remove(out);
    ASSERT_TRUE(RuleScript::run(echo.string(), {"two words", "$(touch pwned)", "*"}).ok());
    EXPECT_EQ(platform::AtomicFile::read(out).value(), "two words\n$(touch pwned)\n*\n");
    EXPECT_FALSE(fs::exists(fs::current_path() / "pwned"));

    const auto failed = RuleScript::run(script("fail", "exit 3\n").string(), {"x"});
    ASSERT_FALSE(failed.ok());
    EXPECT_NE(failed.error().message.find("exit status 3"), std::string::npos);
    const auto slow =
        RuleScript::run(script("slow", "sleep 10\n").string(), {"x"}, std::chrono::milliseconds(100));
    ASSERT_FALSE(slow.ok());
    EXPECT_NE(slow.error().message.find("did not finish"), std::string::npos);
    EXPECT_FALSE(RuleScript::run((folder_.path() / "missing").string(), {"x"}).ok());

    platform::ScopedLogCapture log;
    route({rulestest::typedRule("Broken", {}, {"run=/nonexistent/program"})}, {a});
    EXPECT_TRUE(log.contains("/nonexistent/program"));
}

// What an action could not do is told to whoever routed the messages, naming the rule,
// and only once: a program that cannot start or fails, a mailbox that cannot be made.
TEST_F(ConcreteMessageMallTest, ActionsThatCannotBeDoneAreReported) {
    const fs::path unexecutable = folder_.path() / "plain.sh";
    testsupport::writeBytes(unexecutable, "#!/bin/sh\nexit 0\n");
    ::chmod(unexecutable.c_str(), 0644);
    const std::string failing = script("failing", "exit 3\n").string();
    struct Case {
        std::string action;
        std::string reported; // empty: nothing to report
    };
    const Case cases[] = {
        {"run=/nonexistent/program",
         "rule \"R\": cannot run /nonexistent/program: No such file or directory"},
        {"run=" + unexecutable.string(),
         "rule \"R\": cannot run " + unexecutable.string() + ": Permission denied"},
        {"run=" + failing, "rule \"R\": " + failing + " failed with exit status 3"},
        {"move=../Outside", "rule \"R\": could not make mailbox ../Outside"},
        {"run=" + script("fine", "exit 0\n").string(), ""},
    };
    auto message = add(1, "a");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.action);
        const auto outcome = route({rulestest::typedRule("R", {}, {c.action.c_str()})}, {message});
        if (c.reported.empty()) {
            EXPECT_TRUE(outcome.failures.empty());
            continue;
        }
        ASSERT_EQ(outcome.failures.size(), 1u);
        EXPECT_EQ(outcome.failures[0].rfind(c.reported, 0), 0u) << outcome.failures[0];
    }
}

// Responses are composed from the original and stored in the Outbox.
TEST_F(ConcreteMessageMallTest, ResponsesGoToTheOutbox) {
    auto original = add(7, "Quarterly numbers");
    const platform::Date now{800000000};
    const auto reply = AutoResponse::compose(MessageRule::kReply, {}, *original, now).value_or("");
    EXPECT_NE(reply.find("To: s7@example.org\n"), std::string::npos) << reply;
    EXPECT_NE(reply.find("From: ada@example.org\n"), std::string::npos);
    EXPECT_NE(reply.find("Subject: Re: Quarterly numbers\n"), std::string::npos);
    EXPECT_NE(reply.find("In-Reply-To: <rule-7@example.org>\n"), std::string::npos);
    EXPECT_NE(reply.find("> Body 7.\n"), std::string::npos);
    const auto forward = AutoResponse::compose(MessageRule::kForward, {"a@x.org", "b@y.org"}, *original, now);
    ASSERT_TRUE(forward);
    EXPECT_NE(forward->find("To: a@x.org, b@y.org\n"), std::string::npos);
    EXPECT_NE(forward->find("Subject: Fwd: Quarterly numbers\n"), std::string::npos);
    EXPECT_NE(forward->find("Content-Type: message/rfc822"), std::string::npos);
    const auto redirect = AutoResponse::compose(MessageRule::kRedirect, {"c@z.org"}, *original, now);
    ASSERT_TRUE(redirect);
    EXPECT_EQ(redirect->rfind("Resent-To: c@z.org\n", 0), 0u);
    EXPECT_NE(redirect->find(original->messageBytes().value()), std::string::npos);
    EXPECT_FALSE(AutoResponse::compose(MessageRule::kForward, {}, *original, now));

    route({rulestest::typedRule("Answer", {}, {"reply"})}, {original});
    EXPECT_EQ(subjects("Outbox"), (std::vector<std::string>{"Re: Quarterly numbers"}));
}

} // namespace
