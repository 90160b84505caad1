#pragma once

#include <string>

namespace vorn {

class SqliteHandle;

// A SAVEPOINT that is rolled back unless it is released: the work done
// while it stands happens whole or not at all. Outside a transaction it is
// a BEGIN IMMEDIATE instead, so that it waits for other writers.
class SqliteSavepoint {
public:
    SqliteSavepoint(const SqliteHandle& db, std::string name);
    ~SqliteSavepoint();
    SqliteSavepoint(const SqliteSavepoint&) = delete;
    SqliteSavepoint& operator=(const SqliteSavepoint&) = delete;

    // Keeps the work.
    void Release();

private:
    const SqliteHandle& db_;
    std::string name_;
    bool open_ = true;
    bool outermost_ = false;
};

}  // namespace vorn
