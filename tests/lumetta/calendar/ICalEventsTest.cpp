#include "lumetta/calendar/ICalAlarmTime.h"
#include "lumetta/calendar/ICalPriority.h"
#include "lumetta/calendar/ICalReplyDecoder.h"
#include "lumetta/calendar/ICalText.h"
#include "platform/appleevents/AEDescription.h"
#include "support/LocalTime.h"

#include <gtest/gtest.h>

using namespace lumetta;
using namespace platform::appleevents;
using platform::Date;
using platform::Value;
using testsupport::localTime;

namespace {

AppleEvent replyWith(AEDesc direct) {
    AppleEvent reply = AppleEvent::replyTo(AppleEvent::toBundleIdentifier(1, 2, "com.apple.iCal"));
    reply.setParam(keyDirectObject, std::move(direct));
    return reply;
}

} // namespace

// Tag priorities go out on the calendar's four levels and come back lossy.
TEST(ICalPriorityTest, MapsBothWaysLossily) {
    const struct {
        int tag;
        const char* level;
        int back;
    } cases[] = {{-3, "tdp9", 1}, {0, "tdp0", 0}, {1, "tdp9", 1}, {2, "tdp9", 1},
                 {3, "tdp5", 3},  {4, "tdp1", 5}, {5, "tdp1", 5}, {9, "tdp1", 5}};
    for (const auto& c : cases) {
        EXPECT_EQ(osTypeString(ICalPriority::toCalendar(c.tag)), osTypeString(fourCharCodeFrom(c.level)))
            << c.tag;
        EXPECT_EQ(ICalPriority::fromCalendar(ICalPriority::toCalendar(c.tag)), c.back) << c.tag;
    }
    EXPECT_EQ(ICalPriority::fromCalendar(fourCharCode("msng")), 0);
    EXPECT_EQ(ICalPriority::fromCalendar(std::nullopt), 0);
}

// Text goes in Mac OS Roman where it can, and urls are escaped over those bytes.
TEST(ICalTextTest, EncodesTextAndEscapesUrls) {
    EXPECT_EQ(describe(ICalText::descriptor("Ça va")), "'TEXT'\"\\x82a va\"");
    EXPECT_EQ(describe(ICalText::descriptor("会议")), "'utf8'\"\\xE4\\xBC\\x9A\\xE8\\xAE\\xAE\"");
    EXPECT_EQ(ICalText::escapedURL("file:///tmp/a b/Ça.emlx"), "file:///tmp/a%20b/%82a.emlx");
    EXPECT_EQ(ICalText::escapedURL("file:///Mail/Работа.mbox/Messages/7.emlx"),
              "file:///Mail/%D0%A0%D0%B0%D0%B1%D0%BE%D1%82%D0%B0.mbox/Messages/7.emlx");
    EXPECT_EQ(ICalText::escapedURL("file:///a%20b"), "file:///a%2520b"); // escaped text is escaped again
}

// A to-do's record reads into the tag-side dictionary; what is missing stays out.
TEST(ICalReplyDecoderTest, ReadsTheAllPropertiesRecord) {
    AEDesc record = AEDesc::record();
    record.setParam(fourCharCode("wr10"), AEDesc::utf8Text("U-1"));
    record.setParam(fourCharCode("wr11"), AEDesc::macRomanText("Ça").value());
    record.setParam(fourCharCode("wr12"), AEDesc::typeCode(fourCharCode("msng")));
    record.setParam(fourCharCode("wrt1"), AEDesc::typeCode(fourCharCode("msng")));
    record.setParam(fourCharCode("wrt3"), AEDesc::longDateTime(3061152000 + 3600)); // 2001-01-01 01:00 local
    record.setParam(fourCharCode("wrt5"), AEDesc::enumerated(fourCharCode("tdp5")));
    const auto properties = ICalReplyDecoder::toDoProperties(replyWith(record));
    ASSERT_TRUE(properties);
    EXPECT_EQ(properties->keys(), (std::vector<std::string>{"priority", "dueDate", "summary", "uid"}));
    EXPECT_EQ(properties->get("priority"), Value(3));
    EXPECT_EQ(properties->get("summary"), Value("Ça"));
    EXPECT_EQ(properties->get("dueDate"), Value(Date{0})); // 01:00 in Berlin is midnight GMT

    AEDesc bare = AEDesc::record();
    EXPECT_EQ(ICalReplyDecoder::toDoProperties(replyWith(bare))->get("priority"), Value(0));
    EXPECT_FALSE(ICalReplyDecoder::toDoProperties(replyWith(AEDesc::list())));
    EXPECT_FALSE(ICalReplyDecoder::toDoProperties(AppleEvent()));
}

// Query answers: object specifiers in a list, nested lists one level down.
TEST(ICalReplyDecoderTest, FindsObjectsInListReplies) {
    const AEDesc a =
        AEDesc::objectSpecifier(formName, fourCharCode("wret"), AEDesc::text("a"), AEDesc::null());
    const AEDesc b =
        AEDesc::objectSpecifier(formName, fourCharCode("wret"), AEDesc::text("b"), AEDesc::null());
    const AppleEvent reply =
        replyWith(AEDesc::list({AEDesc::text("noise"), AEDesc::list({a, AEDesc::null()}), b}));
    EXPECT_EQ(ICalReplyDecoder::listedToDos(reply), (std::vector<AEDesc>{a, b}));
    EXPECT_EQ(ICalReplyDecoder::firstObject(reply), b); // only items at the top count here
    EXPECT_FALSE(ICalReplyDecoder::firstObject(replyWith(a)));
    EXPECT_TRUE(ICalReplyDecoder::listedToDos(replyWith(a)).empty());
}

// A count of display alarms says "none yet" only with a direct object reading 0.
TEST(ICalReplyDecoderTest, ReadsAlarmCounts) {
    EXPECT_TRUE(ICalReplyDecoder::countsNoAlarm(replyWith(AEDesc::longInteger(0))));
    EXPECT_TRUE(ICalReplyDecoder::countsNoAlarm(replyWith(AEDesc::text("0"))));
    EXPECT_TRUE(ICalReplyDecoder::countsNoAlarm(replyWith(AEDesc::list()))); // no text reads as 0
    EXPECT_FALSE(ICalReplyDecoder::countsNoAlarm(replyWith(AEDesc::longInteger(2))));
    EXPECT_FALSE(ICalReplyDecoder::countsNoAlarm(AppleEvent::replyTo(AppleEvent())));
}

// The message identifier is the url's last path component without its extension.
TEST(ICalReplyDecoderTest, TakesMessageIdentifiersFromUrls) {
    const std::pair<const char*, const char*> cases[] = {
        {"file:///Users/a/Mail/INBOX.mbox/Messages/4711.emlx", "4711"},
        {"file:///Mail/Box.mbox/Messages/12.partial.emlx", "12.partial"},
        {"file:///Mail/Box.mbox/Messages/99.emlx/", "99"},
        {"4711.emlx", "4711"},
        {"file:///Mail/.emlx", ".emlx"},
        {"", ""}};
    for (const auto& [url, identifier] : cases)
        EXPECT_EQ(ICalReplyDecoder::messageIdentifier(url), identifier) << url;
    EXPECT_EQ(Value(ICalReplyDecoder::messageIdentifier(cases[1].first)).intValue(), 12);
}

// The alarm goes off on the due day at the chosen time, local time; other forms set none.
TEST(ICalAlarmTimeTest, PutsTheAlarmOnTheDueDay) {
    const Date due = localTime(2026, 3, 5, 15, 30);
    const struct {
        Value time;
        std::optional<Date> alarm;
    } cases[] = {{Value("7:00"), localTime(2026, 3, 5, 7, 0)},
                 {Value("18:45"), localTime(2026, 3, 5, 18, 45)},
                 {Value("7"), std::nullopt},
                 {Value("7:00:00"), std::nullopt},
                 {Value(""), std::nullopt},
                 {Value(), std::nullopt},
                 {Value("25:00"), localTime(2026, 3, 6, 1, 0)},
                 {Value("7:"), localTime(2026, 3, 5, 7, 0)}};
    for (const auto& c : cases)
        EXPECT_EQ(ICalAlarmTime::onDueDay(due, c.time), c.alarm) << c.time.description();
    // The day is the local one: 23:30 GMT on 5 March is already 6 March in Berlin.
    EXPECT_EQ(ICalAlarmTime::onDueDay(Date::fromUnix(1772753400), Value("7:00")),
              localTime(2026, 3, 6, 7, 0));
    // Across the change to summer time the wall-clock hour is kept.
    EXPECT_EQ(ICalAlarmTime::onDueDay(localTime(2026, 3, 29, 12, 0), Value("7:00")),
              localTime(2026, 3, 29, 7, 0));
}
