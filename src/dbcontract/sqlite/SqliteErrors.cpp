#include "dbcontract/sqlite/SqliteErrors.h"

#include <sqlite3.h>

#include <cctype>

#include "dbcontract/sqlite/SqliteFunctions.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

constexpr std::string_view kSource = "DAO.Database";

// The text after `prefix` when `message` starts with it.
bool After(std::string_view message, std::string_view prefix, std::string_view& rest) {
    if (message.substr(0, prefix.size()) != prefix) return false;
    rest = message.substr(prefix.size());
    return true;
}

// A name as SQLite reports it, without the "main." its messages add.
std::string_view WithoutMainSchema(std::string_view name) {
    std::string_view rest;
    return After(name, "main.", rest) ? rest : name;
}

std::string Quoted(std::string_view name) { return "'" + std::string(name) + "'"; }

// A check constraint's name tells which rule failed: the engine names them
// "<rule>:<field>".
VornError FromCheck(std::string_view constraint) {
    std::string_view field;
    if (After(constraint, "zerolength:", field)) {
        return SqliteErrors::Jet(errnum::kJetZeroLengthNotAllowed,
                                 "Field " + Quoted(field) + " cannot be a zero-length string.");
    }
    if (After(constraint, "size:", field)) {
        return SqliteErrors::Jet(errnum::kJetFieldTooSmall,
                                 "The field " + Quoted(field) +
                                     " is too small to accept the amount of data you attempted "
                                     "to add. Try inserting or pasting less data.");
    }
    if (After(constraint, "primarykey:", field)) {
        return SqliteErrors::Jet(
            errnum::kJetKeyCannotBeNull,
            "Index or primary key cannot contain a Null value (field " + Quoted(field) + ").");
    }
    return SqliteErrors::Jet(errnum::kJetValidationRule,
                             "One or more values are prohibited by the rule " + Quoted(constraint) +
                                 " set for the table.");
}

// The engine's triggers raise "#<number> <text>".
VornError FromTrigger(std::string_view message) {
    if (message.size() > 1 && message[0] == '#') {
        std::size_t end = 1;
        while (end < message.size() && std::isdigit(static_cast<unsigned char>(message[end])))
            ++end;
        if (end > 1) {
            const auto number = std::stoi(std::string(message.substr(1, end - 1)));
            const auto text = message.substr(end < message.size() ? end + 1 : end);
            return SqliteErrors::Jet(number, std::string(text));
        }
    }
    return SqliteErrors::Jet(errnum::kJetInvalidOperation, std::string(message));
}

VornError FromConstraint(int extendedCode, std::string_view message) {
    std::string_view rest;
    switch (extendedCode) {
        case SQLITE_CONSTRAINT_UNIQUE:
        case SQLITE_CONSTRAINT_PRIMARYKEY:
        case SQLITE_CONSTRAINT_ROWID:
            return SqliteErrors::Jet(
                errnum::kJetDuplicateValue,
                "The changes you requested to the table were not successful because they would "
                "create duplicate values in the index, primary key, or relationship (" +
                    std::string(message) + ").");
        case SQLITE_CONSTRAINT_NOTNULL:
            After(message, "NOT NULL constraint failed: ", rest);
            return SqliteErrors::Jet(
                errnum::kJetFieldRequired,
                "The field " + Quoted(rest) +
                    " cannot contain a Null value because the Required property "
                    "for this field is set to True. Enter a value in this field.");
        case SQLITE_CONSTRAINT_CHECK:
            if (After(message, "CHECK constraint failed: ", rest)) return FromCheck(rest);
            break;
        case SQLITE_CONSTRAINT_TRIGGER:
            return FromTrigger(message);
        default:
            break;
    }
    return SqliteErrors::Jet(errnum::kJetInvalidOperation, std::string(message));
}

VornError FromError(std::string_view message) {
    std::string_view rest;
    if (After(message, "no such table: ", rest) || After(message, "no such view: ", rest)) {
        return SqliteErrors::InputTableNotFound(WithoutMainSchema(rest));
    }
    if (After(message, "no such column: ", rest)) {
        return SqliteErrors::Jet(
            errnum::kJetTableNotFound,
            "Too few parameters. Expected 1 (unknown name " + Quoted(rest) + ").");
    }
    if (message.find("syntax error") != std::string_view::npos ||
        message.find("incomplete input") != std::string_view::npos) {
        return SqliteErrors::Jet(errnum::kJetInvalidSqlStatement,
                                 "Invalid SQL statement: " + std::string(message) + ".");
    }
    // A function of the runtime that failed inside a statement put its
    // number at the end of its message.
    if (const auto number = SqliteFunctions::ErrorNumberIn(message)) {
        return SqliteErrors::Jet(*number, std::string(message));
    }
    return SqliteErrors::Jet(errnum::kJetInvalidOperation, std::string(message));
}

}  // namespace

VornError SqliteErrors::Jet(std::int32_t number, std::string description) {
    return VornError(number, std::string(kSource), std::move(description));
}

VornError SqliteErrors::FromSqlite(int extendedCode, std::string_view message) {
    switch (extendedCode & 0xFF) {
        case SQLITE_CONSTRAINT:
            return FromConstraint(extendedCode, message);
        case SQLITE_READONLY:
            return ReadOnly(message);
        case SQLITE_LOCKED:
            return Jet(errnum::kJetTableInUse,
                       "The table is in use by an open recordset or query (" +
                           std::string(message) + ").");
        case SQLITE_BUSY:
            return Jet(errnum::kJetCouldNotUpdateLocked,
                       "Could not update; the file is locked by another user (" +
                           std::string(message) + ").");
        case SQLITE_NOTADB:
            return Jet(errnum::kJetUnrecognizedFormat, "Unrecognized database format.");
        case SQLITE_CORRUPT:
            return Jet(errnum::kJetDatabaseDamaged,
                       "The database is damaged (" + std::string(message) + ").");
        case SQLITE_CANTOPEN:
            return Jet(errnum::kJetCannotOpenFile,
                       "Could not open the file (" + std::string(message) + ").");
        case SQLITE_NOMEM:
            return Jet(errnum::kOutOfMemory, "Out of memory.");
        case SQLITE_ERROR:
            return FromError(message);
        default:
            return Jet(errnum::kJetInvalidOperation, std::string(message));
    }
}

VornError SqliteErrors::FromHandle(sqlite3* db) {
    const int code = sqlite3_extended_errcode(db);
    if ((code & 0xFF) == SQLITE_BUSY) {
        // SQLite's "database is locked" does not say which file another
        // process holds; the user needs to know.
        const char* file = sqlite3_db_filename(db, "main");
        return Jet(errnum::kJetCouldNotUpdateLocked,
                   "Could not update; the file '" + std::string(file != nullptr ? file : "") +
                       "' is locked by another user (" + sqlite3_errmsg(db) + ").");
    }
    return FromSqlite(code, sqlite3_errmsg(db));
}

VornError SqliteErrors::ReadOnly(std::string_view what) {
    return Jet(errnum::kJetReadOnly,
               "Cannot update. Database or object is read-only (" + std::string(what) + ").");
}

VornError SqliteErrors::ItemNotFound(std::string_view name) {
    return Jet(errnum::kJetItemNotFound,
               "Item not found in this collection: " + Quoted(name) + ".");
}

VornError SqliteErrors::TableExists(std::string_view name) {
    return Jet(errnum::kJetTableExists, "Table " + Quoted(name) + " already exists.");
}

VornError SqliteErrors::ObjectExists(std::string_view name) {
    return Jet(errnum::kJetObjectExists, "Object " + Quoted(name) + " already exists.");
}

VornError SqliteErrors::InputTableNotFound(std::string_view name) {
    return Jet(errnum::kJetInputTableNotFound,
               "The database engine cannot find the input table or query " + Quoted(name) +
                   ". Make sure it exists and that its name is spelled correctly.");
}

VornError SqliteErrors::ConversionError(std::string_view detail) {
    return Jet(errnum::kJetConversionError,
               "Data type conversion error (" + std::string(detail) + ").");
}

}  // namespace vorn
