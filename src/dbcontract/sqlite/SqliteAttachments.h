#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

class LdbLock;
class SqliteHandle;

// The other project files whose tables a project file attaches. Each is
// ATTACHed to the connection once, under an alias of the engine's
// ("vornattach1", ...), read only when the project file is, and locked as
// an open project file is. Each attached table also shows as a TEMP view
// of its local name, so that plain SQL on the connection reaches it.
class SqliteAttachments {
public:
    SqliteAttachments(const SqliteHandle& db, bool readOnly);
    ~SqliteAttachments();
    SqliteAttachments(const SqliteAttachments&) = delete;
    SqliteAttachments& operator=(const SqliteAttachments&) = delete;

    // The file of a connect string ";DATABASE=<file>;"; nullopt for any
    // other form.
    static std::optional<std::string> DatabaseOf(std::string_view connect);

    // The alias of a file, attaching it first. Raises 3024 when it is
    // missing and 3343 when it is no project file.
    std::string Attach(const std::string& file);

    // The alias of a file that one statement names by IN '<file>': a file
    // attached already keeps its alias; another stays attached only until
    // ReleaseStatementFiles. Raises as Attach does.
    std::string AttachForStatement(const std::string& file);

    // Detaches the files that AttachForStatement attached. SQLite refuses
    // to detach a file that an open transaction has used: such a file stays
    // until a later call.
    void ReleaseStatementFiles() noexcept;

    // Shows an attached table under its local name; nothing when its file
    // cannot be attached.
    void Show(const TableInfo& table);
    void Hide(std::string_view localName);

    // Detaches everything and drops the locks.
    void Close() noexcept;

private:
    struct Entry;

    Entry& Find(const std::string& file, bool forStatement);

    const SqliteHandle& db_;
    bool readOnly_;
    std::vector<std::unique_ptr<Entry>> entries_;
    int aliasesMade_ = 0;
};

}  // namespace vorn
