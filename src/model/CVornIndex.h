#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/DalConnection.h"
#include "dbcontract/Database.h"
#include "dbcontract/TableDef.h"
#include "runtime/VArray.h"

namespace vorn {

// The options of the key list operations. Every value carries the bit
// 0x8000 so that an option can be told from a plain level number; the bit
// means nothing else. Bits may be combined.
enum KeyFieldOption : std::int32_t {
    kfoSortOrder = 0x8001,          // the ORDER BY form: bracketed, qualified,
                                    // text keys sorted by value, DESC on a
                                    // descending leaf
    kfoFromLeaf = 0x8002,           // with kfoSortOrder: start at the leaf
    kfoStandardKeys = 0x8004,       // the standard key fields less vORNProjectID;
                                    // the level is their count
    kfoAllFields = 0x8008,          // the index fields as they stand
    kfoLeafOnward = 0x8010,         // VornKeyFieldsSubsetFnS: the leaf to the end
    kfoStandardKeepLevel = 0x8020,  // as kfoStandardKeys, the level stays the
                                    // number of index fields
    kfoParentKeys = 0x8040,         // VornKeyFieldsSubsetFnS: the fields before the leaf
    kfoBracketed = 0x8080,          // bracketed and qualified, nothing else
    kfoAfterLeaf = 0x8100,          // the fields after the leaf
};

// The single authority on key sets. A table's key set is the ordered list of
// the fields of its index VORNINDEX, joined by single commas ("PointID,Depth").
// The standard key fields are, in this order:
//   PointID,Depth,Reading,Reading2,DateTime,ItemKey,ItemKey2,ElapsedTime,
//   AlignID,VornSequence,vORNProjectID
// compared ignoring case and brackets. The leaf key is the last standard field
// of the list (the last field when none is standard); the fields before it are
// the parent keys, those after it the additional unique keys; a field that is
// not standard is an extended key. The level of a table is the number of its
// key fields.
//
// On an enterprise database the index columns come from the server's schema
// through a DalConnection. The object caches one connection: ConnectionSet
// fills it for a long job; VornIndexFieldsFnS opens one for a single call when
// none is cached. The cache makes the object unfit to share between jobs on
// different databases at the same time.
//
// The list operations never raise for a table that lacks the index: the
// answer is "" and level 0. One instance serves the process (TheIndex()).
class CVornIndex {
  public:
    static constexpr std::string_view kStandardKeys =
        "PointID,Depth,Reading,Reading2,DateTime,ItemKey,ItemKey2,ElapsedTime,AlignID,"
        "VornSequence,vORNProjectID";
    static constexpr std::string_view kIndexName = "VORNINDEX";
    // Stands in for VORNINDEX on the project table of an enterprise database.
    static constexpr std::string_view kProjectIndexName = "vORNProject_UID";

    CVornIndex() = default;
    ~CVornIndex();
    CVornIndex(const CVornIndex&) = delete;
    CVornIndex& operator=(const CVornIndex&) = delete;

    // ---- The cached connection ---------------------------------------------

    // Closes the cached connection; with an enterprise database, opens a new
    // one on it and keeps it until the next ConnectionSet.
    void ConnectionSet(Database* pdbSource = nullptr);
    // Whether a connection is cached (the enterprise path is taken when no
    // database is named).
    bool HasCachedConnection() const { return connection_ != nullptr; }

    // ---- Key lists of a table ----------------------------------------------

    // The key list of the table in the form `piOptInLevelOut` asks for (a
    // KeyFieldOption, 0 acting as kfoStandardKeys); on return it holds the
    // level. `pdbDatabase` tells an enterprise database (index columns from
    // the server); without it the cached connection decides. `psTable`
    // qualifies the bracketed forms ("[T].[PointID]"), `psSep` joins the
    // entries of the sort form, and the first `piOmitFilterKeys` entries of
    // the sort form stay plain even when they are text. A table without
    // VORNINDEX (other than an enterprise PROJECT with vORNProjectID), or any
    // failure, gives "" and level 0; nothing is raised.
    std::string VornIndexFieldsFnS(TableDef& ptdSource, std::int32_t& piOptInLevelOut,
                                   Database* pdbDatabase = nullptr, std::string_view psTable = {},
                                   std::string_view psSep = ",", std::int16_t piOmitFilterKeys = 0);
    // The same when the level is not wanted.
    std::string VornIndexFieldsFnS(TableDef& ptdSource, KeyFieldOption option,
                                   Database* pdbDatabase = nullptr);
    // VornIndexFieldsFnS with no table qualifier and "," between entries.
    // A null table gives "" and leaves `piKeyFieldCount` as it came.
    std::string VornIndexAndLevelFnS(TableDef* ptdSource, std::int32_t& piKeyFieldCount,
                                     Database* pdbDatabase = nullptr);

    // The Required flag of each key field (kfoAllFields), from a dynaset of
    // the table; bounds 1..n, undimensioned for a table without a key.
    VArray VornIndexFieldsReqVFnB(TableDef& ptdSource, Database* pdbDatabase = nullptr);
    // The type codes of the fields of VORNINDEX (vORNProject_UID when the
    // table has no VORNINDEX), bounds 1..n. A failure after the index was
    // found ends the list where it stands.
    VArray VornIndexFieldTypesVFnI(TableDef& ptdSource);
    // The type codes of the fields of VORNINDEX joined by commas ("10,7");
    // no fallback; "" without the index.
    std::string VornIndexFieldTypesFnS(TableDef& ptdSource);
    // The Unique flag of VORNINDEX, else of vORNProject_UID; false when
    // neither can be read.
    bool VornIndexIsUniqueFnB(TableDef& ptdSource);
    // Whether rows may repeat a leaf value: the index is not unique, or
    // additional unique keys follow the leaf.
    bool VornIndexAllowDupeFnB(TableDef& ptdSource);
    // Whether the key holds a field that is not a standard key field (so
    // always on a key that carries vORNProjectID).
    bool HasExtendedKeysFnB(TableDef& ptdCurr);
    // Whether the table's field of that name is text; false on any failure.
    bool IsTextKeyFnB(TableDef& ptdCurr, std::string_view psFieldName);

    // ---- Key lists as text -------------------------------------------------

    // A part of a key list, by `piOpt`: kfoLeafOnward, kfoParentKeys and
    // kfoAfterLeaf cut around the leaf; a plain level n > 0 gives the fields
    // before field n + 1 found as KeyFieldByLevelFnS finds it: the first n
    // fields, the whole list for n = its count, and past that the wrap
    // decides; kfoStandardKeys keeps
    // the standard fields less vORNProjectID; any other value keeps the
    // extended keys. "" for an empty list.
    std::string VornKeyFieldsSubsetFnS(std::string_view psIndexFields, std::int32_t piOpt) const;
    // Whether the name (brackets removed) is a standard key field.
    bool VornKeysetFieldFnB(std::string_view psField) const;
    // The 1-based column of the leaf key; 0 for an empty list.
    std::int16_t LeafKeyColFnI(std::string_view psKeyset) const;
    // The same of a table's kfoAllFields list.
    std::int16_t LeafKeyColFnI(TableDef& ptdSource);
    // The parent keys. A list of one field, or with its leaf first, comes
    // back whole (never empty).
    std::string KeysOmitLeaf(std::string_view psKeys) const;
    // The additional unique keys (the fields after the leaf); "" for none.
    std::string KeysAddlUniqueFnS(std::string_view psKeyset) const;
    std::string KeysAddlUniqueFnS(TableDef& ptdSource, Database* pdbDatabase = nullptr);
    // The field at 1-based `piLevel` of the standard part of the list (of the
    // whole list with `pbNonVorn`); a negative level counts from the end (-1
    // the last). A level past the end wraps round to the first field and
    // counts on: of "A,B" level 3 is A and level 4 is B.
    std::string KeyFieldByLevelFnS(std::string_view psKeyset, std::int16_t piLevel,
                                   bool pbNonVorn = false) const;
    // Whether the key set holds PointID.
    bool PointRelatedKeysetFnB(std::string_view psKeyset) const;
    // The DAO type of a key field by its name alone ("[T].[Depth]" allowed):
    // 4 for VornRecID, vORNProjectID and VornSequence; 8 for DateTime; 7 for
    // Depth, Reading, Particle_Size and ElapsedTime; 10 for any other name,
    // Reading2 among them.
    std::int16_t DataTypeFromKeyNameFnI(std::string_view psFieldName) const;

  private:
    // Whether the table has an index of that name. "Item not found" is false;
    // any other failure is shown to the user and is false.
    bool IndexExistFnB(TableDef& ptdSource, std::string_view psIndexName);
    // The steps of VornIndexFieldsFnS after the kind of database is known.
    std::string KeyListOf(TableDef& ptdSource, std::int32_t option, std::int32_t& level,
                          bool enterprise, std::string_view psTable, std::string_view psSep,
                          std::int16_t piOmitFilterKeys);
    std::string SortForm(TableDef& ptdSource, std::string list, std::int32_t option,
                         bool enterprise, bool hasIndex, std::string_view psTable,
                         std::string_view psSep, std::int16_t piOmitFilterKeys);
    bool LeafIsDescending(TableDef& ptdSource, const std::string& leafName, std::int16_t leafColumn,
                          bool enterprise, bool hasIndex);

    // The cached connection; 91 when an enterprise table is read without one
    // (a connect string of no known provider).
    DalConnection& Connection() const;

    std::shared_ptr<DalConnection> connection_;
};

// The session's key set authority (the legacy global Index).
CVornIndex& TheIndex();

}  // namespace vorn
