#pragma once

#include <functional>
#include <memory>
#include <string>

#include "dbcontract/DBEngine.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn::testing {

inline const char* kJetLocale = ";LANGID=0x0409;CP=1252;COUNTRY=0";

// A new project file in a temp folder, made through the engine.
struct NewProject {
    TempFolder folder;
    std::string path = (folder / "project.vpj").string();
    std::shared_ptr<Database> db = DaoEngine().CreateDatabase(path, kJetLocale);

    ~NewProject() {
        if (db && db->IsOpen()) db->Close();
    }

    // Closes the file and opens it again.
    void Reopen(bool readOnly = false) {
        db->Close();
        db = DaoEngine().OpenDatabase(path, 0, readOnly);
    }
};

}  // namespace vorn::testing
