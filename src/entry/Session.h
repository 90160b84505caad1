#pragma once

#include <memory>

#include "runtime/UserInterface.h"

namespace vorn {

struct SessionOptions {
    // The user interface of the session; when empty, the process keeps the
    // one it has (a terminal when there is one, else the non-interactive one).
    std::unique_ptr<UserInterface> ui;
};

// Makes the session objects, once, in their fixed order: the string
// services and the text table come first, since every later object may
// report through them, and the upsize driver last, since making it makes
// objects that use all the others. A host calls this before it uses any
// class; the command line entry calls it after parsing. A second call does
// nothing. The objects live until the process ends.
void StartSession(SessionOptions options = {});

// True once StartSession has run.
bool SessionStarted();

}  // namespace vorn
