#include "FakeCalendarSupport.h"

#include "platform/appleevents/AEDescription.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/appleevents/LongDateTime.h"
#include "platform/foundation/UserDefaults.h"

#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>

namespace caltodo {

using namespace platform::appleevents;
namespace fs = std::filesystem;

namespace {

OSType code(const AEDesc& record, AEKeyword key) {
    const AEDesc* value = record.param(key);
    return value ? value->osTypeValue().value_or(0) : 0;
}

std::string text(const AEDesc* desc) {
    return desc ? desc->stringValue().value_or("") : "";
}

AEDesc calendarSpecifier(const std::string& name) {
    return AEDesc::objectSpecifier(formName, fourCharCode("wres"), AEDesc::macRomanText(name).value(),
                                   AEDesc::null());
}

AEDesc missing() {
    return AEDesc::typeCode(fourCharCode("msng"));
}

AEDesc textOrMissing(const std::optional<std::string>& value) {
    return value ? AEDesc::utf8Text(*value) : missing();
}

AppleEvent answer(const AppleEvent& request, std::optional<AEDesc> result = std::nullopt) {
    AppleEvent reply = AppleEvent::replyTo(request);
    if (result)
        reply.setParam(keyDirectObject, std::move(*result));
    return reply;
}

AppleEvent failure(const AppleEvent& request, OSStatus number, const std::string& message) {
    AppleEvent reply = AppleEvent::replyTo(request);
    reply.setError(number, message);
    return reply;
}

} // namespace

FakeCalendar::FakeCalendar() : calendars{"Home"} {}

FakeToDo* FakeCalendar::find(const std::string& uid) {
    const auto found =
        std::find_if(toDos.begin(), toDos.end(), [&](const FakeToDo& t) { return t.uid == uid; });
    return found == toDos.end() ? nullptr : &*found;
}

FakeToDo& FakeCalendar::add(const std::string& calendar, const std::string& summary) {
    FakeToDo toDo;
    toDo.uid = "UID-" + std::to_string(nextUid_++);
    toDo.calendar = calendar;
    toDo.summary = summary;
    toDo.priority = fourCharCode("tdp0");
    toDos.push_back(std::move(toDo));
    touch(toDos.back());
    return toDos.back();
}

void FakeCalendar::touch(FakeToDo& toDo) {
    std::int64_t now = 0;
    (void)UCConvertCFAbsoluteTimeToLongDateTime(platform::Clock::now().seconds, &now);
    toDo.stamp = now;
}

AEDesc FakeCalendar::reference(const FakeToDo& toDo) const {
    return AEDesc::objectSpecifier(fourCharCode("ID  "), fourCharCode("wret"), AEDesc::utf8Text(toDo.uid),
                                   calendarSpecifier(toDo.calendar));
}

FakeToDo* FakeCalendar::toDoAt(const AEDesc& specifier) {
    if (specifier.descriptorType() != typeObjectSpecifier ||
        code(specifier, keyAEDesiredClass) != fourCharCode("wret"))
        return nullptr;
    return find(text(specifier.param(keyAEKeyData)));
}

AEDesc FakeCalendar::propertyOf(const FakeToDo& toDo, OSType property) const {
    switch (property) {
    case fourCharCode("wr10"):
        return AEDesc::utf8Text(toDo.uid);
    case fourCharCode("wr11"):
        return textOrMissing(toDo.summary);
    case fourCharCode("wr12"):
        return textOrMissing(toDo.notes);
    case fourCharCode("wr16"):
        return textOrMissing(toDo.url);
    case fourCharCode("wrt1"):
        return toDo.completion.value_or(missing());
    case fourCharCode("wrt3"):
        return toDo.due.value_or(missing());
    case fourCharCode("wrt5"):
        return AEDesc::enumerated(toDo.priority);
    case fourCharCode("wr4s"):
        return AEDesc::longDateTime(toDo.stamp);
    default:
        return missing();
    }
}

AppleEvent FakeCalendar::handle(const AppleEvent& request) {
    received.push_back(request);
    const AEDesc* direct = request.directObject();
    const OSType id = request.eventID();
    if (id == fourCharCode("getd"))
        return get(request);
    if (id == fourCharCode("crel"))
        return make(request);
    if (id == fourCharCode("setd"))
        return set(request);
    if (id == fourCharCode("aec3")) {
        ++shown;
        return answer(request);
    }
    if (id == fourCharCode("actv")) {
        ++activated;
        return answer(request);
    }
    FakeToDo* toDo = direct ? toDoAt(*direct) : nullptr;
    if (!toDo)
        return failure(request, errAENoSuchObject, "Can't get to-do.");
    if (id == fourCharCode("delo")) {
        toDos.erase(toDos.begin() + (toDo - toDos.data()));
        return answer(request);
    }
    if (id == fourCharCode("cnte"))
        return answer(request, AEDesc::longInteger(static_cast<std::int32_t>(toDo->alarms.size())));
    return failure(request, errAEEventNotHandled, "not handled");
}

AppleEvent FakeCalendar::get(const AppleEvent& request) {
    const AEDesc& specifier = *request.directObject();
    const AEDesc& seld = *specifier.param(keyAEKeyData);
    if (code(specifier, keyAEKeyForm) == formTest) {
        AEDesc found = AEDesc::list();
        if (code(specifier, keyAEDesiredClass) == fourCharCode("wres")) {
            for (const std::string& name : calendars)
                if (name == text(seld.param(keyAEObject2)))
                    found.append(calendarSpecifier(name));
        } else if (seld.descriptorType() == typeCompDescriptor) {
            for (const FakeToDo& toDo : toDos)
                if (toDo.uid == seld.param(keyAEObject2)->textBytes())
                    found.append(reference(toDo));
        } else {
            const AEDesc& terms = *seld.param(keyAELogicalTerms);
            const std::int64_t since = terms.item(1)->param(keyAEObject2)->longDateTimeValue().value_or(0);
            const std::string part = text(terms.item(2)->param(keyAEObject2));
            for (const FakeToDo& toDo : toDos)
                if (toDo.stamp > since && toDo.url && toDo.url->find(part) != std::string::npos)
                    found.append(reference(toDo));
        }
        return answer(request, found);
    }
    const OSType property = seld.osTypeValue().value_or(0);
    const AEDesc& of = *specifier.param(keyAEContainer);
    if (code(of, keyAEDesiredClass) == fourCharCode("wres"))
        return answer(request, AEDesc::macRomanText(text(of.param(keyAEKeyData))).value());
    FakeToDo* toDo = toDoAt(of);
    if (!toDo)
        return failure(request, errAENoSuchObject, "Can't get to-do.");
    if (property != fourCharCode("pALL"))
        return answer(request, propertyOf(*toDo, property));
    AEDesc record = AEDesc::record();
    for (const char* p : {"wr10", "wr11", "wr12", "wr16", "wrt1", "wrt3", "wrt5", "wr4s"})
        record.setParam(fourCharCodeFrom(p), propertyOf(*toDo, fourCharCodeFrom(p)));
    return answer(request, record);
}

AppleEvent FakeCalendar::make(const AppleEvent& request) {
    const OSType kind = request.param(keyAEObjectClass)->osTypeValue().value_or(0);
    const AEDesc* properties = request.param(keyAEPropData);
    if (kind == fourCharCode("wres")) {
        if (refuseNewCalendars)
            return failure(request, errAEEventFailed, "Calendars cannot be made now.");
        calendars.push_back(text(properties->param(fourCharCode("pnam"))));
        return answer(request, calendarSpecifier(calendars.back()));
    }
    const AEDesc& container = *request.param(keyAEInsertHere)->param(keyAEObject);
    if (kind == fourCharCode("wal1")) {
        FakeToDo* toDo = toDoAt(*container.param(keyAEContainer));
        if (!toDo)
            return failure(request, errAENoSuchObject, "Can't get to-do.");
        toDo->alarms.push_back(*properties->param(fourCharCode("wale")));
        return answer(request);
    }
    const std::string calendar = text(container.param(keyAEKeyData));
    if (std::find(calendars.begin(), calendars.end(), calendar) == calendars.end())
        return failure(request, errAENoSuchObject, "Can't get calendar \"" + calendar + "\".");
    FakeToDo& toDo = add(calendar, "");
    toDo.summary.reset();
    const auto textOf = [&](const char* key) -> std::optional<std::string> {
        const AEDesc* value = properties->param(fourCharCodeFrom(key));
        return value ? value->stringValue() : std::nullopt;
    };
    toDo.summary = textOf("wr11");
    toDo.notes = textOf("wr12");
    toDo.url = textOf("wr16");
    if (const AEDesc* due = properties->param(fourCharCode("wrt3")))
        toDo.due = *due;
    if (const AEDesc* done = properties->param(fourCharCode("wrt1")))
        toDo.completion = *done;
    if (const AEDesc* priority = properties->param(fourCharCode("wrt5")))
        toDo.priority = priority->osTypeValue().value_or(0);
    return answer(request, reference(toDo));
}

AppleEvent FakeCalendar::set(const AppleEvent& request) {
    const AEDesc& specifier = *request.directObject();
    const OSType property = specifier.param(keyAEKeyData)->osTypeValue().value_or(0);
    const AEDesc& of = *specifier.param(keyAEContainer);
    const AEDesc* data = request.param(keyAEData);
    if (!data)
        return failure(request, errAEParamMissed, "No value to set.");
    if (code(of, keyAEDesiredClass) == fourCharCode("cobj")) {
        FakeToDo* toDo = toDoAt(*of.param(keyAEContainer)->param(keyAEContainer));
        if (!toDo || toDo->alarms.empty())
            return failure(request, errAENoSuchObject, "Can't get display alarm 1.");
        toDo->alarms.front() = *data;
        return answer(request);
    }
    FakeToDo* toDo = toDoAt(of);
    if (!toDo)
        return failure(request, errAENoSuchObject, "Can't get to-do.");
    const auto textValue = [&]() -> std::optional<std::string> {
        return data && !data->isNull() ? data->stringValue() : std::nullopt;
    };
    switch (property) {
    case fourCharCode("wr11"):
        toDo->summary = textValue();
        break;
    case fourCharCode("wr12"):
        toDo->notes = textValue();
        break;
    case fourCharCode("wr16"):
        toDo->url = textValue();
        break;
    case fourCharCode("wrt1"):
        toDo->completion = *data;
        break;
    case fourCharCode("wrt3"):
        toDo->due = *data;
        break;
    case fourCharCode("wrt5"):
        toDo->priority = data->osTypeValue().value_or(0);
        break;
    default:
        return failure(request, errAENotModifiable, "Can't set that.");
    }
    touch(*toDo);
    return answer(request);
}

std::string FakeCalendar::transcript() const {
    std::string out;
    for (const AppleEvent& event : received) {
        out += osTypeString(event.eventClass()) + "/" + osTypeString(event.eventID()) + "\n";
        const AEDesc& parameters = event.parameters();
        for (std::size_t i = 1; i <= parameters.count(); ++i)
            out += "  " + osTypeString(parameters.keywordAt(i)) + " " + describe(*parameters.item(i)) + "\n";
    }
    return out;
}

std::size_t FakeCalendar::count(const char* eventClass, const char* eventID) const {
    return std::count_if(received.begin(), received.end(), [&](const AppleEvent& e) {
        return e.eventClass() == fourCharCodeFrom(eventClass) && e.eventID() == fourCharCodeFrom(eventID);
    });
}

void CalendarClientTest::SetUp() {
    const fs::path runtime = scratch_.path() / "run";
    fs::create_directories(runtime);
    ::chmod(runtime.c_str(), 0700);
    ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (scratch_.path() / "config").c_str(), 1);
    platform::UserDefaults::resetStandardForTesting();
    ApplicationRegistry::registerApplication("com.apple.iCal", {scratch_.path() / "no-such-calendar", {}});
    transport_.addApplication("com.apple.iCal", [this](const AppleEvent& e) { return calendar_.handle(e); });
    installed_ = std::make_unique<ScopedAETransport>(transport_);
    startPresence();
    platform::RunLoop::setMain(&loop_);
    log_ = std::make_unique<platform::ScopedLogCapture>();
}

void CalendarClientTest::TearDown() {
    log_.reset();
    platform::RunLoop::setMain(nullptr);
    presence_.reset();
    installed_.reset();
    ApplicationRegistry::unregisterApplication("com.apple.iCal");
    platform::UserDefaults::resetStandardForTesting();
}

void CalendarClientTest::startPresence() {
    if (presence_)
        return;
    auto server = AEServer::listen("com.apple.iCal", [](const AppleEvent& e) {
        AppleEvent reply = AppleEvent::replyTo(e);
        reply.setError(errAEEventNotHandled);
        return reply;
    });
    ASSERT_TRUE(server.ok()) << server.error().message;
    presence_ = std::move(server.value());
    presence_->start();
}

void CalendarClientTest::disconnect() {
    transport_.removeApplication("com.apple.iCal");
}

std::size_t CalendarClientTest::launchAttempts() const {
    const auto lines = log_->lines();
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("cannot start the calendar application") != std::string::npos;
    });
}

fs::path goldenFile(const std::string& name) {
    return fs::path(LUMETTA_TEST_DATA_DIR) / name;
}

} // namespace caltodo
