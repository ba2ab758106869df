#include "platform/runtime/Runtime.h"

#include "platform/runtime/Seam.h"

#include <gtest/gtest.h>
#include <string>

using namespace platform::runtime;

namespace {

// A host class with one replaceable method, and a trace of which code ran.
struct Greeter : Object {
    using Object::Object;
    std::string trace;
};

std::string hostGreet(Greeter* self, Sel sel, int n) {
    self->trace += "host:" + std::string(sel) + ";";
    return "hello x" + std::to_string(n);
}

using GreetImp = std::string (*)(Greeter*, Sel, int);
GreetImp savedGreet = nullptr;

std::string pluginGreet(Greeter* self, Sel sel, int n) {
    self->trace += "plugin:" + std::string(sel) + ";";
    return "[" + savedGreet(self, sel, n) + "]";
}

std::string otherSignature(Greeter*, Sel, long) {
    return "wrong";
}

// Replacing: the host's seam runs the plug-in's code, which reaches the host's
// code through its saved slot with the host's selector.
TEST(MethodReplacement, HostSelectorRunsPluginCodeWhichCallsTheSavedHostCode) {
    Class& cls = Runtime::defineClass("GreeterA");
    Seam<std::string(Greeter*, int)> greet(cls, "greet:", &hostGreet);
    cls.addInstanceMethod("lumettaGreet:", &pluginGreet);

    savedGreet = reinterpret_cast<GreetImp>(
        Runtime::replaceInstanceMethod("greet:", "GreeterA", "lumettaGreet:", "GreeterA"));
    ASSERT_EQ(savedGreet, &hostGreet);

    Greeter g(&cls);
    EXPECT_EQ(greet(&g, 3), "[hello x3]");
    EXPECT_EQ(g.trace, "plugin:greet:;host:greet:;");

    // Not a swap: the replacement selector still runs the plug-in's code.
    auto viaReplacement = reinterpret_cast<GreetImp>(cls.instanceMethod("lumettaGreet:")->imp());
    EXPECT_EQ(viaReplacement, &pluginGreet);
}

// Missing pieces: nothing changes and the slot stays empty.
TEST(MethodReplacement, MissingMethodOrClassOrMismatchedTypeChangesNothing) {
    Class& cls = Runtime::defineClass("GreeterB");
    Seam<std::string(Greeter*, int)> greet(cls, "greet:", &hostGreet);
    cls.addInstanceMethod("lumettaGreet:", &pluginGreet);
    cls.addInstanceMethod("lumettaWrongType:", &otherSignature);

    EXPECT_EQ(Runtime::replaceInstanceMethod("absent:", "GreeterB", "lumettaGreet:", "GreeterB"), nullptr);
    EXPECT_EQ(Runtime::replaceInstanceMethod("greet:", "GreeterB", "lumettaAbsent:", "GreeterB"), nullptr);
    EXPECT_EQ(Runtime::replaceInstanceMethod("greet:", "NoSuchClass", "lumettaGreet:", "GreeterB"), nullptr);
    EXPECT_EQ(Runtime::replaceInstanceMethod("greet:", "GreeterB", "lumettaWrongType:", "GreeterB"), nullptr);
    // Instance and class methods are separate tables.
    EXPECT_EQ(Runtime::replaceClassMethod("greet:", "GreeterB", "lumettaGreet:", "GreeterB"), nullptr);

    EXPECT_EQ(greet.current(), &hostGreet);
    Greeter g(&cls);
    EXPECT_EQ(greet(&g, 1), "hello x1");
}

int hostCount(Class*, Sel) {
    return 1;
}
int pluginCount(Class*, Sel) {
    return 2;
}

TEST(MethodReplacement, ClassMethodsAreReplacedOnTheirOwnTable) {
    Class& cls = Runtime::defineClass("CounterC");
    Seam<int(Class*)> count(cls, "count", &hostCount, Seam<int(Class*)>::Kind::ClassMethod);
    cls.addClassMethod("lumettaCount", &pluginCount);
    EXPECT_EQ(Runtime::replaceInstanceMethod("count", "CounterC", "lumettaCount", "CounterC"), nullptr);
    EXPECT_NE(Runtime::replaceClassMethod("count", "CounterC", "lumettaCount", "CounterC"), nullptr);
    EXPECT_EQ(count(&cls), 2);
}

// Lookup follows the superclass chain, as dispatch does.
TEST(MethodLookup, SubclassesInheritMethods) {
    Class& base = Runtime::defineClass("BaseD");
    Class& derived = Runtime::defineClass("DerivedD", &base);
    base.addInstanceMethod("greet:", &hostGreet);
    EXPECT_NE(derived.instanceMethod("greet:"), nullptr);
    EXPECT_EQ(base.instanceMethod("lumettaGreet:"), nullptr);
    EXPECT_EQ(&Runtime::defineClass("DerivedD"), &derived); // defining again finds the same class
}

// Posing: every later creation of the host class yields the poser.
struct Editor : Object {
    using Object::Object;
    virtual std::string kind() const { return "host editor"; }
};
struct PosingEditor : Editor {
    using Editor::Editor;
    std::string kind() const override { return "posing editor"; }
};

TEST(ClassPosing, CreationOfTheHostClassYieldsThePoser) {
    Class& host = Runtime::defineClass("EditorE");
    host.setFactory([](Class* c) { return std::make_unique<Editor>(c); });
    Class& poser = Runtime::defineClass("PosingEditorE", &host);
    poser.setFactory([](Class* c) { return std::make_unique<PosingEditor>(c); });
    Class& unrelated = Runtime::defineClass("UnrelatedE");

    auto before = host.createInstance();
    EXPECT_EQ(dynamic_cast<Editor&>(*before).kind(), "host editor");

    EXPECT_FALSE(Runtime::poseAsClass("UnrelatedE", "EditorE"));
    EXPECT_FALSE(Runtime::poseAsClass("EditorE", "EditorE"));
    EXPECT_TRUE(Runtime::poseAsClass("PosingEditorE", "EditorE"));
    auto after = host.createInstance();
    EXPECT_EQ(dynamic_cast<Editor&>(*after).kind(), "posing editor");
    EXPECT_EQ(after->objectClass(), &poser);
    EXPECT_EQ(unrelated.createInstance(), nullptr);
}

} // namespace
