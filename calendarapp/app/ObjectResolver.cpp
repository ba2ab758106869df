#include "calendarapp/app/ObjectResolver.h"

#include "calendarapp/app/DescValues.h"
#include "calendarapp/app/StoreStatus.h"
#include "calendarapp/app/TestClause.h"
#include "calendarapp/app/Vocabulary.h"
#include "platform/appleevents/AEDescription.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <set>

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;
using Kind = ObjectRef::Kind;

namespace {

constexpr std::size_t kMaxDepth = 64;

std::string ofContainer(const Resolution& container) {
    if (container.plural)
        return " of every " + Vocabulary::className(
                                  container.objects.empty() ? cAnyObject : container.objects[0].classCode());
    if (container.objects.empty() || container.objects[0].kind == Kind::Application)
        return "";
    return " of " + container.objects[0].description();
}

platform::Error noSuchObject(const std::string& what) {
    return platform::makeError("Can't get " + what + ".", errAENoSuchObject);
}

platform::Error badKeyForm(OSType want, OSType form) {
    return platform::makeError("A " + Vocabulary::className(want) + " can't be named by the form " +
                                   osTypeString(form) + ".",
                               errAEBadKeyForm);
}

// The class an element of `container` has, when `want` can name it; 0 when not.
OSType elementClass(Kind container, OSType want) {
    const OSType element = container == Kind::Application ? cCalendar
                           : container == Kind::Calendar  ? cToDo
                           : container == Kind::ToDo      ? cDisplayAlarm
                                                          : 0;
    return element != 0 && (want == element || want == cAnyObject) ? element : 0;
}

bool allCalendars(const Resolution& container) {
    return !container.objects.empty() &&
           std::all_of(container.objects.begin(), container.objects.end(),
                       [](const ObjectRef& o) { return o.kind == Kind::Calendar; });
}

Resolution single(ObjectRef object) {
    Resolution resolution;
    resolution.objects.push_back(std::move(object));
    return resolution;
}

Resolution plural(std::vector<ObjectRef> objects) {
    Resolution resolution;
    resolution.objects = std::move(objects);
    resolution.plural = true;
    return resolution;
}

} // namespace

Result<Resolution> ObjectResolver::resolve(const AEDesc& specifier) const {
    return resolveAt(specifier, 0);
}

Result<Resolution> ObjectResolver::resolveAt(const AEDesc& specifier, std::size_t depth) const {
    if (specifier.isNull())
        return single(ObjectRef::application());
    const AEDesc* want = specifier.param(keyAEDesiredClass);
    const AEDesc* form = specifier.param(keyAEKeyForm);
    const AEDesc* seld = specifier.param(keyAEKeyData);
    if (specifier.descriptorType() != typeObjectSpecifier || depth > kMaxDepth || !want ||
        !want->osTypeValue() || !form || !form->osTypeValue() || !seld)
        return platform::makeError(describe(specifier) + " is not an object specifier.", errAENotAnObjSpec);
    const AEDesc* from = specifier.param(keyAEContainer);
    auto container = resolveAt(from ? *from : AEDesc::null(), depth + 1);
    if (!container)
        return container;
    if (container.value().property != 0)
        return noSuchObject(Vocabulary::className(*want->osTypeValue()) + " of " +
                            Vocabulary::propertyName(container.value().property));

    switch (*form->osTypeValue()) {
    case formPropertyID: {
        const auto property = seld->osTypeValue();
        if (!property)
            return platform::makeError(describe(*seld) + " is not a property.", errAEBadKeyForm);
        Resolution resolution = std::move(container.value());
        resolution.property = *property;
        return resolution;
    }
    case formAbsolutePosition:
        return byIndex(container.value(), *want->osTypeValue(), *seld);
    case formName:
        return byName(container.value(), *want->osTypeValue(), *seld);
    case formUniqueID:
        return byUid(container.value(), *want->osTypeValue(), *seld);
    case formTest:
        return byTest(container.value(), *want->osTypeValue(), *seld);
    default:
        return badKeyForm(*want->osTypeValue(), *form->osTypeValue());
    }
}

Result<std::vector<ObjectRef>> ObjectResolver::elements(const ObjectRef& container, OSType want) const {
    const OSType element = elementClass(container.kind, want);
    if (element == 0)
        return noSuchObject("every " + Vocabulary::className(want) + " of " + container.description());
    std::vector<ObjectRef> found;
    if (element == cCalendar) {
        auto calendars = store_.calendars();
        if (!calendars)
            return StoreStatus::toEventError(calendars.error());
        for (Calendar& calendar : calendars.value())
            found.push_back(ObjectRef::forCalendar(std::move(calendar.name)));
    } else if (element == cToDo) {
        auto calendar = store_.findCalendar(container.calendar);
        if (!calendar)
            return StoreStatus::toEventError(calendar.error());
        auto listing = store_.toDos(calendar.value());
        if (!listing)
            return StoreStatus::toEventError(listing.error());
        for (ToDo& toDo : listing.value().toDos)
            found.push_back(ObjectRef::forToDo(std::make_shared<const ToDo>(std::move(toDo))));
    } else {
        auto toDo = LUMETTA_TRY(reader_.toDoOf(container));
        ObjectRef pinned = container;
        pinned.toDo = toDo;
        for (std::size_t i = 0; i < toDo->displayAlarms.size(); ++i)
            found.push_back(ObjectRef::forDisplayAlarm(pinned, i));
    }
    return found;
}

Result<std::vector<ObjectRef>> ObjectResolver::elementsOfAll(const Resolution& container, OSType want) const {
    std::vector<ObjectRef> all;
    for (const ObjectRef& object : container.objects) {
        auto found = elements(object, want);
        if (!found)
            return found;
        std::move(found.value().begin(), found.value().end(), std::back_inserter(all));
    }
    return all;
}

Result<Resolution> ObjectResolver::byIndex(const Resolution& container, OSType want,
                                           const AEDesc& seld) const {
    const std::string what = Vocabulary::className(want);
    std::vector<ObjectRef> pool;
    if (seld.descriptorType() == typeAbsoluteOrdinal) {
        auto all = LUMETTA_TRY(elementsOfAll(container, want));
        const OSType ordinal = seld.osTypeValue().value_or(0);
        if (ordinal == kAEAll)
            return plural(std::move(all));
        if (ordinal != kAEFirst && ordinal != kAELast)
            return platform::makeError("The ordinal " + osTypeString(ordinal) + " is not offered.",
                                       errAEBadKeyForm);
        if (all.empty())
            return noSuchObject((ordinal == kAEFirst ? "first " : "last ") + what + ofContainer(container));
        return single(ordinal == kAEFirst ? all.front() : all.back());
    }
    const auto index = seld.int32Value();
    if (!index)
        return platform::makeError(describe(seld) + " is not an index.", errAEBadKeyForm);
    // "item N of every ...": the list itself, when it holds objects of the class asked for.
    const bool fromList =
        container.plural &&
        std::all_of(container.objects.begin(), container.objects.end(),
                    [want](const ObjectRef& o) { return want == cAnyObject || o.classCode() == want; });
    if (fromList) {
        pool = container.objects;
    } else {
        pool = LUMETTA_TRY(elementsOfAll(container, want));
    }
    const auto count = static_cast<std::int64_t>(pool.size());
    const std::int64_t position = *index > 0 ? *index - 1 : count + *index;
    if (*index == 0 || position < 0 || position >= count)
        return platform::makeError("Can't get " + what + " " + std::to_string(*index) +
                                       ofContainer(container) + ". Invalid index.",
                                   errAEIllegalIndex);
    return single(std::move(pool[static_cast<std::size_t>(position)]));
}

Result<Resolution> ObjectResolver::byName(const Resolution& container, OSType want,
                                          const AEDesc& seld) const {
    if (container.plural || container.objects.front().kind != Kind::Application ||
        elementClass(Kind::Application, want) == 0)
        return badKeyForm(want, formName);
    auto name = DescValues::text(seld);
    if (!name || !name.value())
        return platform::makeError(describe(seld) + " is not a name.", errAEBadKeyForm);
    auto calendar = store_.findCalendar(*name.value());
    if (!calendar && calendar.error().code == ENOENT)
        return noSuchObject("calendar \"" + *name.value() + "\"");
    if (!calendar)
        return StoreStatus::toEventError(calendar.error());
    return single(ObjectRef::forCalendar(calendar.value().name));
}

Result<Resolution> ObjectResolver::byUid(const Resolution& container, OSType want, const AEDesc& seld) const {
    if (!allCalendars(container) || (want != cToDo && want != cAnyObject))
        return badKeyForm(want, formUniqueID);
    auto uid = DescValues::rawText(seld);
    if (!uid || !uid.value())
        return platform::makeError(describe(seld) + " is not an id.", errAEBadKeyForm);
    const std::string what = "to do id \"" + *uid.value() + "\"" + ofContainer(container);
    auto toDo = store_.findToDo(*uid.value());
    if (!toDo && toDo.error().code == ENOENT)
        return noSuchObject(what);
    if (!toDo)
        return StoreStatus::toEventError(toDo.error());
    const bool inside =
        std::any_of(container.objects.begin(), container.objects.end(),
                    [&](const ObjectRef& o) { return o.calendar == toDo.value().calendar.name; });
    if (!inside)
        return noSuchObject(what);
    return single(ObjectRef::forToDo(std::make_shared<const ToDo>(std::move(toDo.value()))));
}

Result<Resolution> ObjectResolver::byTest(const Resolution& container, OSType want,
                                          const AEDesc& seld) const {
    auto test = LUMETTA_TRY(TestClause::parse(seld));
    const bool ofToDos = allCalendars(container) && (want == cToDo || want == cAnyObject);
    auto candidates = LUMETTA_TRY(ofToDos ? toDoCandidates(container, test) : elementsOfAll(container, want));
    std::vector<ObjectRef> passed;
    for (ObjectRef& candidate : candidates) {
        auto matches = LUMETTA_TRY(test.matches(candidate, reader_));
        if (matches)
            passed.push_back(std::move(candidate));
    }
    return plural(std::move(passed));
}

Result<std::vector<ObjectRef>> ObjectResolver::toDoCandidates(const Resolution& calendars,
                                                              const TestClause& test) const {
    std::set<std::string, std::less<>> names;
    for (const ObjectRef& calendar : calendars.objects)
        names.insert(calendar.calendar);
    std::vector<ObjectRef> candidates;
    const auto keep = [&](ToDo&& toDo) {
        if (names.contains(toDo.calendar.name))
            candidates.push_back(ObjectRef::forToDo(std::make_shared<const ToDo>(std::move(toDo))));
    };
    if (const auto uid = test.uidEquals()) {
        auto toDo = store_.findToDo(*uid);
        if (!toDo && toDo.error().code != ENOENT)
            return StoreStatus::toEventError(toDo.error());
        if (toDo)
            keep(std::move(toDo.value()));
        return candidates;
    }
    if (const auto after = test.stampLaterThan()) {
        auto changed = store_.toDosModifiedSince(*after);
        if (!changed)
            return StoreStatus::toEventError(changed.error());
        for (ToDo& toDo : changed.value().toDos)
            keep(std::move(toDo));
        return candidates;
    }
    return elementsOfAll(calendars, cToDo);
}

} // namespace calendarapp
