#include "dbcontract/sqlite/SqliteProjectFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/LdbLock.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::FailureNumber;

using namespace dao;
namespace fs = std::filesystem;

FieldInfo Field(const char* name, std::int16_t type, std::int32_t size = 0,
                std::int32_t attributes = 0) {
    FieldInfo field;
    field.name = name;
    field.type = type;
    field.size = size;
    field.attributes = attributes;
    return field;
}

IndexInfo Index(const char* name, std::vector<IndexFieldInfo> fields, bool primary = false,
                bool unique = false) {
    IndexInfo index;
    index.name = name;
    index.fields = std::move(fields);
    index.primary = primary;
    index.unique = unique || primary;
    return index;
}


std::vector<std::vector<Variant>> AllRows(RowSource& rows) {
    std::vector<std::vector<Variant>> all;
    std::vector<Variant> row;
    while (rows.Next(row)) all.push_back(row);
    return all;
}

RowRequest TableRows(std::string name, std::int32_t type = dbOpenDynaset) {
    RowRequest request;
    request.source = std::move(name);
    request.isTable = true;
    request.type = type;
    return request;
}

Decimal Dec(const char* text) { return *Decimal::Parse(text); }

// Each stored field compares whole: a change in any setting shows.
void ExpectSameDesign(const std::vector<TableInfo>& expected,
                      const std::vector<TableInfo>& actual) {
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t t = 0; t < expected.size(); ++t) {
        const auto& a = expected[t];
        const auto& b = actual[t];
        EXPECT_EQ(a.name, b.name);
        EXPECT_EQ(a.attributes, b.attributes) << a.name;
        EXPECT_EQ(a.connect, b.connect) << a.name;
        EXPECT_EQ(a.sourceTableName, b.sourceTableName) << a.name;
        EXPECT_EQ(a.dateCreated, b.dateCreated) << a.name;
        ASSERT_EQ(a.fields.size(), b.fields.size()) << a.name;
        for (std::size_t f = 0; f < a.fields.size(); ++f) {
            const auto& x = a.fields[f];
            const auto& y = b.fields[f];
            EXPECT_TRUE(x.name == y.name && x.type == y.type && x.size == y.size &&
                        x.attributes == y.attributes && x.required == y.required &&
                        x.allowZeroLength == y.allowZeroLength &&
                        x.ordinalPosition == y.ordinalPosition &&
                        x.defaultValue == y.defaultValue && x.validationRule == y.validationRule &&
                        x.validationText == y.validationText && x.precision == y.precision &&
                        x.scale == y.scale)
                << a.name << "." << x.name;
        }
        ASSERT_EQ(a.indexes.size(), b.indexes.size()) << a.name;
        for (std::size_t i = 0; i < a.indexes.size(); ++i) {
            const auto& x = a.indexes[i];
            const auto& y = b.indexes[i];
            EXPECT_TRUE(x.name == y.name && x.primary == y.primary && x.unique == y.unique &&
                        x.ignoreNulls == y.ignoreNulls && x.foreign == y.foreign &&
                        x.fields.size() == y.fields.size())
                << a.name << "." << x.name;
            for (std::size_t k = 0; k < x.fields.size() && k < y.fields.size(); ++k) {
                EXPECT_EQ(x.fields[k].name, y.fields[k].name);
                EXPECT_EQ(x.fields[k].attributes, y.fields[k].attributes);
            }
        }
    }
}

class SqliteProjectFileTest : public ::testing::Test {
protected:
    std::string PathOf(const std::string& name) const { return (folder / name).string(); }

    std::unique_ptr<SqliteProjectFile> NewProject(const std::string& name = "project.vpf") const {
        return SqliteProjectFile::Create(PathOf(name), ";LANGID=0x0409;CP=1252;COUNTRY=0");
    }

    // A table of one field of each type, keyed by a counter.
    static TableInfo EveryType() {
        TableInfo table;
        table.name =
            "\x7F"
            "Every Type";
        auto text = Field("Text", dbText, 50);
        text.required = true;
        auto memo = Field("Memo", dbMemo);
        memo.allowZeroLength = true;
        auto amount = Field("Amount", dbDecimal);
        amount.precision = 18;
        amount.scale = 4;
        auto flag = Field("Flag", dbBoolean);
        flag.defaultValue = "True";
        flag.validationText = "yes or no";
        table.fields = {Field("ID", dbLong, 4, dbAutoIncrField),
                        text,
                        memo,
                        flag,
                        Field("Byte", dbByte),
                        Field("Short", dbInteger),
                        Field("Money", dbCurrency),
                        Field("Single", dbSingle),
                        Field("Double", dbDouble),
                        Field("When", dbDate),
                        Field("Bytes", dbBinary, 8),
                        Field("Blob", dbLongBinary),
                        Field("Guid", dbGUID),
                        Field("Big", dbBigInt),
                        amount,
                        Field("Char", dbChar, 4),
                        Field("VarBinary", dbVarBinary, 4),
                        Field("Numeric", dbNumeric),
                        Field("Float", dbFloat),
                        Field("Time", dbTime),
                        Field("Stamp", dbTimeStamp)};
        table.indexes = {Index("PrimaryKey", {{"ID", 0}}, true),
                         Index("TextWhen", {{"Text", 0}, {"When", dbDescending}}, false, true),
                         Index("ByMoney", {{"Money", 0}})};
        return table;
    }

    static std::vector<Variant> EveryTypeRow() {
        return {Variant::Null(),
                Variant("Ä text"),
                Variant(""),
                Variant(false),
                Variant(std::uint8_t{255}),
                Variant(std::int16_t{-5}),
                Variant(Currency::FromScaled(-12345)),
                Variant(1.25f),
                Variant(-0.1),
                Variant::FromDate(-700.75),
                Variant(Variant::Binary{1, 2, 3}),
                Variant(Variant::Binary(70000, 9)),
                Variant("{00112233-4455-6677-8899-AABBCCDDEEFF}"),
                Variant(Dec("9007199254740993")),
                Variant(Dec("-12345678901234.5678")),
                Variant("abcd"),
                Variant(Variant::Binary{0, 0}),
                Variant(Dec("0.000000000001")),
                Variant(1e300),
                Variant::FromDate(0.75),
                Variant::FromDate(45000.0 + 1.0 / 86400000)};
    }

    static void Insert(DatabaseBackend& db, const std::string& table,
                       const std::vector<Variant>& values) {
        auto rows = db.OpenRows(TableRows(table));
        RowSource::Changes changes;
        for (const auto& value : values) {
            changes.push_back(value.IsNull() ? std::nullopt : std::optional<Variant>(value));
        }
        rows->Insert(changes);
    }

    testing::TempFolder folder;
};

TEST_F(SqliteProjectFileTest, AProjectReadsBackIdenticalAfterReopening) {
    {
        auto other = SqliteProjectFile::Create(PathOf("other.vpf"), "");
        TableInfo source;
        source.name = "Source";
        source.fields = {Field("Code", dbText, 10)};
        other->CreateTable(source);
    }
    std::vector<TableInfo> tables;
    std::vector<RelationInfo> relations;
    std::vector<QueryInfo> queries;
    std::vector<PropertyInfo> databaseProperties;
    std::vector<PropertyInfo> tableProperties;
    std::vector<PropertyInfo> fieldProperties;
    {
        auto db = NewProject();
        db->CreateTable(EveryType());
        TableInfo child;
        child.name = "Child";
        child.fields = {Field("ParentText", dbText, 50), Field("ParentWhen", dbDate)};
        db->CreateTable(child);
        RelationInfo relation;
        relation.name = "EveryChild";
        relation.table = EveryType().name;
        relation.foreignTable = "Child";
        relation.attributes = dbRelationUpdateCascade | dbRelationDeleteCascade;
        relation.fields = {{"Text", "ParentText"}, {"When", "ParentWhen"}};
        db->CreateRelation(relation);
        TableInfo attached;
        attached.name = "Attached";
        attached.connect = ";DATABASE=" + PathOf("other.vpf") + ";";
        attached.sourceTableName = "Source";
        attached.attributes = dbAttachSavePWD;
        db->CreateTable(attached);
        db->CreateQuery({"Texts",
                         "SELECT \"Text\" FROM \"\x7F"
                         "Every Type\" ORDER BY \"Text\""});
        db->SaveProperty({}, {"Title", dbText, Variant("Site A")});
        db->SaveProperty({"CHILD", ""}, {"vornKind", dbLong, Variant(3)});
        db->SaveProperty({"Child", "parenttext"}, {"Description", dbMemo, Variant("the parent")});
        db->SaveProperty({"Child", "ParentWhen"}, {"Checked", dbDate, Variant::FromDate(1.5)});
        Insert(*db, EveryType().name, EveryTypeRow());
        tables = db->ReadTables();
        relations = db->ReadRelations();
        queries = db->ReadQueries();
        databaseProperties = db->ReadProperties({});
        tableProperties = db->ReadProperties({"Child", ""});
        fieldProperties = db->ReadProperties({"Child", "ParentWhen"});
    }
    auto db = SqliteProjectFile::Open(PathOf("project.vpf"), false);
    ExpectSameDesign(tables, db->ReadTables());
    ASSERT_EQ(db->ReadRelations().size(), 1u);
    EXPECT_EQ(db->ReadRelations()[0].attributes, relations[0].attributes);
    EXPECT_EQ(db->ReadRelations()[0].fields[1].foreignName, "ParentWhen");
    EXPECT_EQ(db->ReadQueries()[0].sql, queries[0].sql);
    EXPECT_EQ(db->ReadProperties({})[0].value, Variant("Site A"));
    EXPECT_EQ(db->ReadProperties({"Child", ""})[0].value, tableProperties[0].value);
    EXPECT_EQ(db->ReadProperties({"Child", "ParentWhen"})[0].value, Variant::FromDate(1.5));
    EXPECT_EQ(db->ReadProperties({"Child", "ParentText"})[0].value, Variant("the parent"));
    // The design as the engine made it.
    const auto& every = tables[0];
    EXPECT_EQ(every.fields[0].size, 4);
    EXPECT_EQ(every.fields[3].defaultValue, "True");
    EXPECT_EQ(every.fields[14].precision, 18);
    const auto& child = tables[1];
    ASSERT_EQ(child.indexes.size(), 1u);
    EXPECT_TRUE(child.indexes[0].foreign);
    EXPECT_EQ(child.indexes[0].name, "EveryChild");
    const auto& attached = tables[2];
    EXPECT_EQ(attached.attributes, dbAttachSavePWD | dbAttachedTable);
    EXPECT_EQ(attached.fields[0].name, "Code");
    // The row, with its counter.
    auto rows = db->OpenRows(TableRows(EveryType().name));
    const auto all = AllRows(*rows);
    ASSERT_EQ(all.size(), 1u);
    auto expected = EveryTypeRow();
    expected[0] = Variant(1);
    EXPECT_EQ(all[0], expected);
}

TEST_F(SqliteProjectFileTest, CatalogTablesShowAsSystemTables) {
    auto db = NewProject();
    std::set<std::string> system;
    for (const auto& table : db->ReadTables()) {
        EXPECT_EQ(table.attributes, dbSystemObject) << table.name;
        system.insert(table.name);
    }
    EXPECT_EQ(system, (std::set<std::string>{"MSysVornTables", "MSysVornFields", "MSysVornIndexes",
                                             "MSysVornIndexFields", "MSysVornRelations",
                                             "MSysVornRelationFields", "MSysVornQueries",
                                             "MSysVornProperties", "MSysVornInfo"}));
    auto rows = db->OpenRows(TableRows("MSysVornInfo"));
    EXPECT_FALSE(rows->Updatable());
    EXPECT_EQ(AllRows(*rows)[0][0], Variant("FormatVersion"));
}

TEST_F(SqliteProjectFileTest, OpeningAndMakingFilesFailWithTheEnginesNumbers) {
    NewProject()->Close();
    EXPECT_EQ(FailureNumber([&] { NewProject(); }), errnum::kJetDatabaseExists);
    EXPECT_EQ(FailureNumber([&] { SqliteProjectFile::Open(PathOf("missing.vpf"), true); }),
              errnum::kJetFileNotFound);
    EXPECT_EQ(FailureNumber([&] { SqliteProjectFile::Create(PathOf("no/such/folder.vpf"), ""); }),
              errnum::kJetNotValidPath);
    testing::WriteFile(folder / "notes.txt", "not a database at all, just text");
    {
        sqlite3* plain = nullptr;
        sqlite3_open(PathOf("plain.db").c_str(), &plain);
        sqlite3_exec(plain, "CREATE TABLE t(a)", nullptr, nullptr, nullptr);
        sqlite3_close(plain);
    }
    for (const char* name : {"notes.txt", "plain.db"}) {
        try {
            SqliteProjectFile::Open(PathOf(name), false);
            ADD_FAILURE() << name << " opened";
        } catch (const VornError& error) {
            EXPECT_EQ(error.Number(), errnum::kJetUnrecognizedFormat);
            EXPECT_NE(error.Description().find(PathOf(name)), std::string::npos);
        }
        EXPECT_FALSE(SqliteProjectFile::LooksLikeProjectFile(PathOf(name)));
    }
    EXPECT_TRUE(SqliteProjectFile::LooksLikeProjectFile(PathOf("project.vpf")));
    try {
        const SqliteHandle missing(PathOf("no/such/folder.db"), SQLITE_OPEN_READWRITE);
        ADD_FAILURE() << "a file in a missing folder opened";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetCannotOpenFile);
        EXPECT_NE(error.Description().find(PathOf("no/such/folder.db")), std::string::npos);
    }
}

TEST_F(SqliteProjectFileTest, ReadOnlyRefusesEveryWriteAndLeavesTheFileUntouched) {
    {
        auto db = NewProject();
        db->CreateTable(EveryType());
        TableInfo other;
        other.name = "Other";
        other.fields = {Field("Text", dbText, 50)};
        db->CreateTable(other);
        db->CreateQuery({"Q", "SELECT 1"});
        db->SaveProperty({}, {"Title", dbText, Variant("x")});
        Insert(*db, EveryType().name, EveryTypeRow());
    }
    const auto before = testing::ReadFile(PathOf("project.vpf"));
    auto db = SqliteProjectFile::Open(PathOf("project.vpf"), true);
    EXPECT_FALSE(db->Updatable());
    const auto every = EveryType().name;
    const std::vector<std::function<void()>> writes = {
        [&] { db->CreateTable(EveryType()); },
        [&] { db->DropTable("Other"); },
        [&] { db->RenameTable("Other", "Renamed"); },
        [&] { db->AddField("Other", Field("New", dbLong)); },
        [&] { db->DropField(every, "Memo"); },
        [&] { db->AlterField(every, "Memo", Field("Memo2", dbMemo)); },
        [&] {
            db->CreateIndex("Other", Index("ByText", {{"Text", 0}}));
        },
        [&] { db->DropIndex(every, "ByMoney"); },
        [&] {
            db->CreateRelation({"R", every, "Other", 0, {{"Text", "Text"}}});
        },
        [&] { db->DropRelation("R"); },
        [&] {
            db->CreateQuery({"Q2", "SELECT 2"});
        },
        [&] { db->DropQuery("Q"); },
        [&] {
            db->SaveProperty({}, {"Title", dbText, Variant("y")});
        },
        [&] { db->DeleteProperty({}, "Title"); },
        [&] { db->Execute("DELETE FROM \"Other\"", 0); },
        [&] { db->OpenRows(TableRows(every))->Insert({Variant("t")}); },
        [&] {
            auto rows = db->OpenRows(TableRows(every, dbOpenTable));
            std::vector<Variant> row;
            rows->Next(row);
            rows->Delete(rows->CurrentKey());
        },
    };
    for (std::size_t i = 0; i < writes.size(); ++i) {
        EXPECT_EQ(FailureNumber(writes[i]), errnum::kJetReadOnly) << "write " << i;
    }
    // Reading still works, also inside a transaction.
    db->BeginTrans();
    EXPECT_EQ(AllRows(*db->OpenRows(TableRows(every))).size(), 1u);
    db->Rollback();
    EXPECT_TRUE(LdbLock::IsHeld(LdbLock::NameFor(PathOf("project.vpf"))));
    db->Close();
    EXPECT_EQ(testing::ReadFile(PathOf("project.vpf")), before);
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        names.insert(entry.path().filename().string());
    }
    EXPECT_EQ(names, std::set<std::string>{"project.vpf"});
}

TEST_F(SqliteProjectFileTest, TheLockFileIsHeldWhileAnyoneHasTheProjectOpen) {
    NewProject()->Close();
    const auto lock = LdbLock::NameFor(PathOf("project.vpf"));
    EXPECT_EQ(lock, folder / "project.ldb");
    EXPECT_FALSE(fs::exists(lock));
    auto first = SqliteProjectFile::Open(PathOf("project.vpf"), false);
    auto second = SqliteProjectFile::Open(PathOf("project.vpf"), true);
    EXPECT_TRUE(LdbLock::IsHeld(lock));
    first->Close();
    EXPECT_TRUE(LdbLock::IsHeld(lock));
    EXPECT_TRUE(fs::exists(lock));
    second.reset();
    EXPECT_FALSE(fs::exists(lock));
    EXPECT_FALSE(LdbLock::IsHeld(lock));
}

// Another process that does `work` on the project, tells us, does `then`,
// and keeps what it holds until told to end. A `work` that kills its
// process ends it.
class OtherProcess {
public:
    explicit OtherProcess(const std::function<void()>& work, const std::function<void()>& then = {}) {
        int ready[2];
        int done[2];
        if (::pipe(ready) != 0 || ::pipe(done) != 0) throw std::runtime_error("pipe");
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(ready[0]);
            ::close(done[1]);
            try {
                work();
            } catch (...) {
                ::_exit(2);
            }
            char signal = 0;
            if (::write(ready[1], &signal, 1) != 1) ::_exit(1);
            if (then) then();
            ::_exit(::read(done[0], &signal, 1) < 0 ? 1 : 0);
        }
        ::close(ready[1]);
        ::close(done[0]);
        toldToEnd_ = done[1];
        char signal = 0;
        static_cast<void>(::read(ready[0], &signal, 1));
        ::close(ready[0]);
    }
    ~OtherProcess() { End(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    void End() {
        if (pid_ <= 0) return;
        ::close(toldToEnd_);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

private:
    pid_t pid_ = -1;
    int toldToEnd_ = -1;
};

// The table T of one field `a`.
TableInfo TableT(const FieldInfo& a) {
    TableInfo table;
    table.name = "T";
    table.fields = {a};
    return table;
}

template <class Work>
std::chrono::milliseconds TimeOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

TEST_F(SqliteProjectFileTest, AFileAnotherProcessIsWritingWaitsThenFailsNamingTheFile) {
    NewProject()->CreateTable(TableT(Field("A", dbLong)));
    auto reader = SqliteProjectFile::Open(PathOf("project.vpf"), true);
    const OtherProcess writer([&] {
        static std::unique_ptr<SqliteHandle> held;  // until that process ends
        held = std::make_unique<SqliteHandle>(PathOf("project.vpf"), SQLITE_OPEN_READWRITE);
        held->Exec("BEGIN EXCLUSIVE");
    });
    const std::vector<std::function<void()>> reads = {
        [&] { SqliteProjectFile::Open(PathOf("project.vpf"), true); },
        [&] { AllRows(*reader->OpenRows(TableRows("T"))); },
    };
    for (std::size_t i = 0; i < reads.size(); ++i) {
        std::string description;
        const auto waited = TimeOf([&] {
            try {
                reads[i]();
            } catch (const VornError& error) {
                EXPECT_EQ(error.Number(), errnum::kJetCouldNotUpdateLocked) << "read " << i;
                description = error.Description();
            }
        });
        EXPECT_NE(description.find(PathOf("project.vpf")), std::string::npos) << description;
        EXPECT_GE(waited.count(), 1500) << "read " << i << " gave up before the busy timeout";
    }
}

TEST_F(SqliteProjectFileTest, AWriteWaitsForAnotherProcessWriteAndBothAreKept) {
    NewProject()->CreateTable(TableT(Field("A", dbLong)));
    auto db = SqliteProjectFile::Open(PathOf("project.vpf"), false);
    EXPECT_TRUE(AllRows(*db->OpenRows(TableRows("T"))).empty());
    {
        static std::unique_ptr<SqliteHandle> other;  // in the other process
        const OtherProcess writer(
            [&] {
                other = std::make_unique<SqliteHandle>(PathOf("project.vpf"), SQLITE_OPEN_READWRITE);
                other->Exec("BEGIN IMMEDIATE; INSERT INTO T VALUES (1)");
            },
            [&] {
                ::usleep(300000);
                other->Exec("COMMIT");
            });
        db->Execute("INSERT INTO T VALUES (2)", 0);
    }
    EXPECT_EQ(AllRows(*db->OpenRows(TableRows("T"))).size(), 2u);
}

TEST_F(SqliteProjectFileTest, AProcessKilledWhileWritingLeavesTheFileAsItWas) {
    {
        auto db = NewProject();
        db->CreateTable(TableT(Field("A", dbText, 200)));
        for (int i = 0; i < 200; ++i) db->Execute("INSERT INTO T VALUES ('" + std::string(150, 'x') + "')", 0);
    }
    OtherProcess([&] {
        auto project = SqliteProjectFile::Open(PathOf("project.vpf"), false);
        // A tiny cache spills the changes into the file before the end, so
        // only the journal can undo them.
        const SqliteHandle other(PathOf("project.vpf"), SQLITE_OPEN_READWRITE);
        other.Exec("PRAGMA cache_size = 1; BEGIN; DELETE FROM T WHERE A <> ''");
        ::raise(SIGKILL);
    });
    const auto lock = LdbLock::NameFor(PathOf("project.vpf"));
    ASSERT_TRUE(fs::exists(PathOf("project.vpf-journal")));
    EXPECT_FALSE(LdbLock::IsHeld(lock));
    auto db = SqliteProjectFile::Open(PathOf("project.vpf"), true);
    const auto rows = AllRows(*db->OpenRows(TableRows("T")));
    EXPECT_EQ(rows.size(), 200u);
    db->Close();
    EXPECT_FALSE(fs::exists(lock));
}

TEST_F(SqliteProjectFileTest, CompactWritesANewFileAndRefusesAnExistingOne) {
    {
        auto db = NewProject();
        db->CreateTable(EveryType());
        Insert(*db, EveryType().name, EveryTypeRow());
    }
    SqliteProjectFile::Compact(PathOf("project.vpf"), PathOf("compact.vpf"));
    auto copy = SqliteProjectFile::Open(PathOf("compact.vpf"), true);
    EXPECT_EQ(AllRows(*copy->OpenRows(TableRows(EveryType().name))).size(), 1u);
    EXPECT_EQ(
        FailureNumber([&] { SqliteProjectFile::Compact(PathOf("project.vpf"), PathOf("compact.vpf")); }),
        errnum::kJetDatabaseExists);
}

TEST_F(SqliteProjectFileTest, TransactionsNestAndRollBackWhatTheyHold) {
    auto db = NewProject();
    TableInfo table;
    table.name = "T";
    table.fields = {Field("N", dbLong)};
    db->CreateTable(table);
    EXPECT_EQ(FailureNumber([&] { db->CommitTrans(); }), errnum::kJetCommitWithoutBegin);
    EXPECT_EQ(FailureNumber([&] { db->Rollback(); }), errnum::kJetCommitWithoutBegin);
    db->BeginTrans();
    Insert(*db, "T", {Variant(1)});
    db->BeginTrans();
    Insert(*db, "T", {Variant(2)});
    db->AddField("T", Field("M", dbText, 10));
    db->Rollback();
    Insert(*db, "T", {Variant(3)});
    db->CommitTrans();
    EXPECT_EQ(FailureNumber([&] { db->CommitTrans(); }), errnum::kJetCommitWithoutBegin);
    const auto rows = AllRows(*db->OpenRows(TableRows("T")));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1][0], Variant(3));
    EXPECT_EQ(rows[1].size(), 1u);  // the field added inside is gone
}

TEST_F(SqliteProjectFileTest, AClosedFileIsNoLongerUsable) {
    auto db = NewProject();
    db->Close();
    db->Close();
    EXPECT_EQ(FailureNumber([&] { db->ReadTables(); }), errnum::kJetObjectInvalid);
}

}  // namespace
}  // namespace vorn
