#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/DalConnection.h"
#include "dbcontract/Database.h"
#include "dbcontract/Field.h"
#include "dbcontract/Index.h"
#include "dbcontract/Properties.h"
#include "dbcontract/QueryDef.h"
#include "dbcontract/Recordset.h"
#include "dbcontract/TableDef.h"
#include "dbcontract/Workspace.h"
#include "model/clsEnterpriseDbData.h"
#include "runtime/Variant.h"

namespace vorn {

// What FieldSourceObject finds for a name: the table of that name, else the
// saved query; both empty when there is neither.
struct JetFieldSource {
    std::shared_ptr<TableDef> table;
    std::shared_ptr<QueryDef> query;
    bool Found() const { return table != nullptr || query != nullptr; }
};

// The toolbox of all work on project databases through the data access
// objects: existence tests, cloning of fields, indexes, tables and their
// properties between project files, attached tables, column changes, the
// lock file; the codec between the host's strings and field values, SQL
// literals and statements; and the enterprise names. One instance serves
// the process (JetOps()).
//
// Conventions of the class. Existence tests never raise: a missing object
// (or any failure) answers false. Operations named "...Sql", TableCloneFnB
// and ExecuteSql log and raise. Optional out arguments are pointers that
// may be null. Names given to the lookups may carry brackets.
class CJetEngineOps {
  public:
    CJetEngineOps() = default;
    ~CJetEngineOps();
    CJetEngineOps(const CJetEngineOps&) = delete;
    CJetEngineOps& operator=(const CJetEngineOps&) = delete;

    // ---- Existence tests ---------------------------------------------------

    // Whether the database has a table `psName` (brackets removed); "" is false.
    bool TabledefExistFnB(Database& pdbSource, std::string_view psName);
    // Whether the table has the field. A name longer than 31 characters on a
    // table whose name holds "." (a linked enterprise table) is looked up in
    // a dynaset of the table, whose Fields serve long names.
    bool FieldExistFnB(TableDef& ptdSource, std::string_view psFieldName);
    // "TABLE.FIELD": exactly two parts, looked up as they stand.
    bool FieldExistInDatabaseFnB(Database& pdbSource, std::string_view psTableDotField);
    bool FieldExistInIndexFnB(Index& pixSource, std::string_view psFieldName);
    bool FieldExistInRecordsetFnB(Recordset& prsSource, std::string_view psFieldName);
    // Whether the object has a property of that name (its Type can be read).
    bool PropertyExistFnB(Properties& pobjProperties, std::string_view psPropname);
    template <class T>
    bool PropertyExistFnB(T& pobjCurr, std::string_view psPropname) {
        return PropertyExistFnB(pobjCurr.GetProperties(), psPropname);
    }
    bool RelationExistFnB(Database& pdbDatabase, std::string_view psRelationName);
    // Walks Indexes comparing names in upper case. A failure other than
    // "item not found" is shown in a message box and answers false.
    bool IndexExistFnB(TableDef& ptdTable, std::string_view psIndexName);
    // The table of that name, else the saved query; `pbIsTable` (when given)
    // is true only for a table. Never raises.
    JetFieldSource FieldSourceObject(Database& pdbSource, std::string_view psName,
                                     bool* pbIsTable = nullptr);
    // PROJECT and POINT, ignoring case.
    bool TableIsRequired(std::string_view psName) const;
    // Whether "SELECT Count(<psField>) FROM [<psTable>]" counts any row; false
    // on any failure. `psField` goes into the SQL as given (unbracketed).
    bool FieldHasDataFnB(Database& pdb, std::string_view psTable, std::string_view psField);
    // The Field of "TABLE.FIELD" (delimiters and brackets allowed); nullptr
    // without a "." and when the table has no such field.
    std::shared_ptr<Field> FieldFromFieldSpecFnObj(Database& pdbSource, std::string_view psFieldSpec);

    // ---- Cloning between project files -------------------------------------

    // Appends a field of the same Name, Type, Attributes and Size to the
    // target; false (and nothing changed) when the append fails, e.g. for a
    // name the target has.
    bool FieldCloneFnB(Field& pfldSource, TableDef& ptdTarget);
    // Appends an index of the same name, Unique, Primary and fields (with
    // their sort sense) to the target. Failures rise.
    void IndexClone(Index& pixSource, TableDef& ptdTarget);
    // IndexClone of every index that is not a foreign key's.
    void IndexesCloneAll(TableDef& ptdSource, TableDef& ptdTarget);
    // Copies the properties of `pfldRef` to the target field `psFieldName`
    // (default: the same name), creating those that are missing; properties
    // that can't be written are passed over. Never raises.
    void PropsCloneOneField(Field& pfldRef, TableDef& ptdTarget, std::string_view psFieldName = {});
    void PropsCloneFields(TableDef& ptdSource, TableDef& ptdTarget);
    // The table properties whose names match "vorn*", and only those.
    void PropsCloneTable(TableDef& ptdSource, TableDef& ptdTarget);
    // Copies table `psSourceName` of `pdbSource` (design, field properties,
    // indexes, vorn* table properties; no rows) to `pdbNew` as `psNewName`
    // (default: the same name). Returns false when done: true would mean the
    // work is unfinished. Failures are raised with their number.
    bool TableCloneFnB(Database& pdbSource, std::string_view psSourceName, Database& pdbNew,
                       std::string_view psNewName = {});

    // ---- Indexes and the main key ------------------------------------------

    // Makes index `psName` on the fields of the comma list `psFields`;
    // nothing for an empty name. A primary index is always unique; with
    // `pbDescending` only the last field sorts descending (the leaf key).
    // Failures rise.
    void IndexCreate(std::string_view psFields, std::string_view psName, TableDef& ptdTarget,
                     bool pbPrimary = false, bool pbNonUnique = false, bool pbDescending = false,
                     bool pbIgnoreNulls = false);
    // Whether the table has no usable key: no index with fields (only unique
    // ones when *plCount comes in negative), skipping, unless `pbLibTable`,
    // indexes with an unnamed or a counter field. `plCount` receives the
    // widest usable index's field count (0 when none) and `plIndex` its
    // position; ties go to the earlier index.
    bool IsZeroLevelFnB(TableDef& ptd, std::int32_t* plCount = nullptr, std::int32_t* plIndex = nullptr,
                        bool pbLibTable = false);
    // The fields of that widest index, comma joined; "" when IsZeroLevelFnB.
    // `pbUnique` receives whether it is unique.
    std::string MainIndexFieldsFnS(TableDef& ptd, std::int32_t* plCount = nullptr, bool* pbUnique = nullptr,
                                   std::int32_t* plIndex = nullptr, bool pbLibTable = false);

    // ---- Schema changes ----------------------------------------------------

    // Changes a column's type by ALTER TABLE ... ALTER COLUMN; nothing on an
    // enterprise database or when the type is already `plType`.
    void ChangeFieldType(Database& pdbTarget, std::string_view psTableName, std::string_view psFieldName,
                         std::int32_t plType);
    // Drops a column of a project file; on an enterprise database only the
    // column's default goes. Nothing when the field is missing. Logs and
    // raises.
    void DropFieldSql(Database& pdbCurr, std::string_view psTableName, std::string_view psFieldName);
    // DROP TABLE with the collections refreshed before and after.
    void DropTableSql(Database& pdbCurr, std::string_view psTableName);
    // Attaches `psSourceTable` of project file `psAttachDbName` as
    // `psNewTable`; nothing if `psNewTable` exists. An empty (or absent)
    // `psConnect` becomes ";DATABASE=<file>;" and is given back. A source
    // that is itself attached is followed to its own source. A failure ends
    // the operation without a raise, the table not attached.
    void AttachTable(Workspace& pdbMgr, Database& pdbTarget, std::string_view psAttachDbName,
                     std::string_view psSourceTable, std::string_view psNewTable,
                     std::string* psConnect = nullptr);
    // Deletes every attached table; the tables named in the comma list
    // `psTempTables` are dropped as well.
    void RemoveAttachedTables(Database& pdbCurr, std::string_view psTempTables = {});

    // ---- Lock file ---------------------------------------------------------

    // The lock file of a project: up to the last "." (even in a folder
    // name), then ".ldb".
    std::string LDBNameFnS(std::string_view psFileName) const;
    // Deletes the lock file; the error number of the delete, 0 if none.
    std::int32_t KillLDBFnL(std::string_view psFileName);
    // Whether the lock file is held: its delete failed other than with "file
    // not found". A free lock file is gone afterwards.
    bool LdbLockedFnB(std::string_view psFileName);

    // ---- Closing and listing -----------------------------------------------

    // The options of a recordset over possibly-enterprise data: 512, plus 64
    // on an enterprise database.
    std::int32_t OpenRecordsetOptions(Database& pdb);
    // The names of the workspace's open databases, each followed by CR LF.
    std::string DBListFnS(Workspace& pdbMgr);
    // Close quietly and empty the reference.
    void ConnectionClose(std::shared_ptr<DalConnection>& poConnection);
    void RecordsetClose(std::unique_ptr<Recordset>& prsCurr);
    void CloseTables(std::vector<std::unique_ptr<Recordset>>& ptbTablesV);

    // ---- Field data codec --------------------------------------------------

    // Writes the host's text `psData` into the current row's field: "" is
    // Null unless the field is a key (`pbNullKey`: -32768 for numbers and
    // dates, "" for text) or the database is enterprise (text stays "").
    // A line break in a text field becomes "<<CR>>", in a memo CR LF;
    // `psData` is changed accordingly. VornUpdated takes the present time
    // when `pbVornUpdate`. A value the field can't take raises.
    void FieldDataWrite(std::string& psData, Field& pfldSaveto, bool pbVornUpdate = false,
                        bool pbNullKey = false, bool pbEnterprise = false);
    // The field's value as the host's text: "" for Null, "-1"/"0" for a
    // boolean, the runtime's text form otherwise.
    std::string FieldDataToStringFnS(Field& poFld);
    // Empties every field of the current row except the system columns;
    // nothing when `prsRecordset` is null.
    void ClearAllFieldValues(Recordset* prsRecordset, bool pbEnterprise);
    // Whether "TABLE.FIELD" in `psSource` names a real field. On success
    // `psSource` becomes "[TABLE].[FIELD]" with `pbReturnTableDotField`,
    // stays with `pbReturnUnchanged`, else becomes the table. On failure
    // `psMesg` (when given) may receive the reason.
    bool DataFieldValidFnB(std::string& psSource, Database& pdbSource, std::string* psMesg = nullptr,
                           bool pbReturnTableDotField = false, bool pbReturnUnchanged = false);
    // A value for a DefaultValue property: numbers as they are, anything
    // else in double quotes.
    std::string DefaultValueStoreFnS(std::string_view psValue) const;
    // The type (server text types collapsed to 10) of the field named after
    // the first "." of `psFieldName`, of any object with Fields. Raises.
    std::int16_t DataTypeFnI(DaoCollection<Field>& pobjFields, std::string_view psFieldName);
    template <class T>
    std::int16_t DataTypeFnI(T& pobjSource, std::string_view psFieldName) {
        return DataTypeFnI(pobjSource.Fields(), psFieldName);
    }
    // "#" for dates, "'" for text and other types, "" for numbers; the name
    // of the host's delimiter function goes to `psDelimiterFunction`.
    std::string DataTypeDelimFnS(std::int16_t piDbType, std::string* psDelimiterFunction = nullptr) const;
    // Codes outside 0..24 become 10 (text).
    std::int16_t ConvertVARCHARFnI(std::int16_t piType) const;
    // The field's type; a type DAO has no mapping for (below 1, 23 and
    // above) is 12 for a field of size 0x7FFFFFFE and 10 otherwise.
    std::int16_t DaoDataTypeFromODBC(const Field& poDAOField) const;
    // " BIT", " TEXT (255)", ...: the type's DDL text with its leading blank;
    // the blank alone for a code without text.
    std::string TypeString(std::int32_t piType);

    // ---- SQL literals and statements ---------------------------------------

    // A literal of `psValue` for project-file SQL: quotes doubled for "'"
    // (except in a "<<LOOKUP" token), dates as yyyy/mm/dd hh:nn:ss for "#",
    // "Null " for an empty value without delimiter.
    std::string WhereFieldFnS(std::string_view psValue, std::string_view psDelim = {}) const;
    // The same with dates as MM/dd/yyyy hh:mm:ss AM/PM, for server statements.
    std::string WhereField2FnS(std::string_view psValue, std::string_view psDelim = {}) const;
    // "INSERT INTO [dest]SELECT fields FROM [source][ IN '<file>'][ WHERE w]".
    std::string InsertIntoSqlFnS(std::string_view psDestTable, std::string_view psFields,
                                 std::string_view psSourceTable, std::string_view psWhere = {},
                                 std::string_view psInFile = {}) const;
    // The page name that means "no name given".
    static constexpr std::string_view kNoPageName{"\0", 1};
    // The WHERE clause (or whole SELECT with `psFieldNames`) on the drawing
    // page table for a page type (a list with commas) and a page name; an
    // empty name also accepts ">Unnamed<".
    std::string PageTypeSqlFnS(std::string_view psFieldNames, const Variant& pvPageType,
                               std::string_view psPageName = kNoPageName) const;
    // Runs a statement on the server of an enterprise database, else on the
    // project file. Logs and raises.
    void ExecuteSql(std::string_view pvsSql, Database& pdbTarget);
    // "TABLE" of "TABLE.FIELD" (delimiters removed, left-trimmed); the whole
    // text without a ".".
    std::string TableFromFieldSpecFnS(std::string_view psFieldSpec) const;
    // The second "."-part as it stands; "" without a ".".
    std::string FieldFromFieldSpecFnS(std::string_view psFieldSpec) const;

    // ---- Enterprise names --------------------------------------------------

    // Whether the database's Connect names a database (a project file's is
    // empty). Never raises; a null or closed database is false.
    bool IsEnterpriseDBFnB(Database& pdb) const;
    bool IsEnterpriseDBFnB(const Database* pdb) const;
    // "SERVER: DB" (exactly two parts around ": ") is an enterprise name;
    // the parts go to the out arguments.
    bool IsEnterpriseNameFnB(std::string_view psName, std::string* psServerName = nullptr,
                             std::string* psDBName = nullptr) const;
    // server + ": " + database, the separator left out when either is empty.
    std::string MakeEnterpriseNameFnS(std::string_view psServer, std::string_view psDatabase) const;
    // Opens the enterprise database of a connect string ("SQLSERVER; ...",
    // "MYSQL; ...", "SQLITE; ...") for writing and loads EnterpriseDbData
    // from it. Logs and raises.
    std::shared_ptr<Database> OpenEnterpriseDbFnDB(std::string_view pvsConnectString);
    // Whether POINT has vORNProjectID and PROJECT holds more than one row.
    bool IsMultiProjectDBFnB(Database& pdb);
    // The identification of project `plVornProjectID` on an enterprise
    // database; "" on any other.
    std::string EnterpriseCurrUserProjectID(Database& pdbSource, std::int32_t plVornProjectID);
    // The object loaded by the last OpenEnterpriseDbFnDB; nullptr before.
    std::shared_ptr<clsEnterpriseDbData> EnterpriseDbData() const { return enterpriseDbData_; }
    // "SAMPLE" of "dbo.SAMPLE": the last "."-part.
    std::string EntBaseTableNameFnS(std::string_view pvsTDName) const;

  private:
    std::shared_ptr<clsEnterpriseDbData> enterpriseDbData_;
    // TypeString's table, filled on first use.
    std::vector<std::string> typeStrings_;
};

// The session's CJetEngineOps (the legacy global JetOps).
CJetEngineOps& JetOps();

// ---- Sort expressions of text keys (module level) -------------------------

// The ORDER BY entry of a field spec so that text holding numbers sorts by
// value ("9" before "10"): the Jet form, or the server form with
// `pbServer`. With a database, the key's values are read first
// (IsFormatNeeded): all dates sort as yyyymmddhhnn, no numbers leave the
// field plain. `pbDateCheck` sorts date-like text as dates inside the mixed
// form. A field spec without quotes is bracketed.
std::string SortExpressionFnS(std::string_view psFieldSpec, TableDef* ptdSource, Database* pdbSource,
                              std::string_view psTableName, bool pbDateCheck, bool pbServer);
// Looks at the values of a text key: `pbAllDates` when every value is a
// date written with "/", `pbNoneNumeric` when no value is numeric (asked
// only when not all are dates). Both are false without rows; a failure is
// logged and leaves them as they stand.
// Without a database the table's own rows are read.
void IsFormatNeeded(TableDef* ptdSource, Database* pdbSource, std::string_view psTableName,
                    std::string_view psFieldSpec, bool& pbAllDates, bool& pbNoneNumeric);

// The provider of an ODBC driver name: "SQL Server" 4, "Microsoft ODBC for
// Oracle" 2, anything else 0.
std::int16_t ProviderFromOdbcDriverFnI(std::string_view psDriver);

}  // namespace vorn
