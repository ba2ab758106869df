#pragma once

namespace platform::runtime {

class Class;

// The root of every host object that takes part in the method tables: it knows its
// class, so that seams and posing can be resolved by class name at run time.
class Object {
public:
    explicit Object(Class* isa) : isa_(isa) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    Class* objectClass() const { return isa_; }

private:
    Class* isa_;
};

} // namespace platform::runtime
