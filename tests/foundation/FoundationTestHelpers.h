#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/CTextString.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "support/TestSupport.h"

namespace vorn::testing {

// Sets an environment variable (or removes it, for nullopt) for the life of the object.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        Apply(value);
    }
    ~ScopedEnv() { Apply(old_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void Apply(const std::optional<std::string>& value) {
        if (value) {
            setenv(name_, value->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }

    const char* name_;
    std::optional<std::string> old_;
};

// A recording user interface in place of the current one for the life of the object.
class RecordedUi {
public:
    RecordedUi() {
        auto ui = std::make_unique<RecordingUserInterface>();
        ui_ = ui.get();
        old_ = SetUi(std::move(ui));
    }
    ~RecordedUi() { SetUi(std::move(old_)); }
    RecordedUi(const RecordedUi&) = delete;
    RecordedUi& operator=(const RecordedUi&) = delete;

    RecordingUserInterface* operator->() const { return ui_; }

private:
    RecordingUserInterface* ui_ = nullptr;
    std::unique_ptr<UserInterface> old_;
};

// The session's text table, loaded from a base file holding `entries` (the
// last line of the file is never read, so one is added).
class SessionTexts {
public:
    explicit SessionTexts(std::string_view entries) {
        WriteFile(folder_ / std::string(CTextString::kBaseFileName), std::string(entries) + "' last line\n");
        SessionSlot<CTextString>::Make(std::make_unique<CTextString>(folder_.path().string()));
    }
    ~SessionTexts() { SessionSlot<CTextString>::ResetForTests(); }
    SessionTexts(const SessionTexts&) = delete;
    SessionTexts& operator=(const SessionTexts&) = delete;

private:
    TempFolder folder_;
};

}  // namespace vorn::testing
