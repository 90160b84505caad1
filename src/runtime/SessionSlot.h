#pragma once

#include <memory>
#include <typeinfo>
#include <utility>

#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {

// The holder of one session object: the single instance of T that every
// class reaches by a global name (Ax(), TextStr(), ...). The session start
// makes the objects once, in their order, and they are never replaced; the
// process ends without releasing them. A use before the session start fails
// with 91, as a use of an object variable that was never set did.
template <class T>
class SessionSlot {
public:
    static T& Get() {
        T* object = Holder().get();
        if (object == nullptr) {
            throw VornError(errnum::kObjectVariableNotSet, typeid(T).name(),
                            VornError::RuntimeDescription(errnum::kObjectVariableNotSet));
        }
        return *object;
    }

    static bool IsMade() { return Holder() != nullptr; }

    // Installs the instance. A second call keeps the first object: the
    // session objects are made once and never replaced.
    static T& Make(std::unique_ptr<T> object) {
        if (!Holder()) Holder() = std::move(object);
        return *Holder();
    }

    // Tests only: drops the instance so that a test can make a fresh session.
    static void ResetForTests() { Holder().reset(); }

private:
    static std::unique_ptr<T>& Holder() {
        static std::unique_ptr<T> instance;
        return instance;
    }
};

}  // namespace vorn
