#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/DaoCollection.h"
#include "dbcontract/Database.h"
#include "dbcontract/Relation.h"

namespace vorn {

// Reads the relations of a database into definition strings and makes
// relations from such strings, so that a project file keeps its relations
// through a table rebuild. A definition is the comma list
//   name,parent,child,attributes,parentField1,childField1,parentField2,...
// upper-cased before use; the name may be empty. The attributes of a key
// relation are 4352 (cascading update and delete), plus 1 (one to one) when
// parent and child have equally many key fields.
//
// Relation names that must be generated are "REL" and a four-digit counter
// (REL0001, REL0002, ...). The counter is the caller's: each generated name
// takes the next number that is neither a relation nor an index of the child
// table.
//
// A relation that the engine refuses because the parent's key is not unique
// goes through a link table: a hidden table (UserTab().LinkTableNameFnS of
// the parent) holding the parent's key set under a unique primary index. The
// parent's child relations are moved onto the link table, the link table
// becomes the parent's own parent, and the refused relation is made from the
// link table.
class CRelation {
  public:
    static constexpr std::int32_t kKeyRelation = 4352;  // update and delete cascade
    static constexpr std::size_t kMaxNameLength = 64;

    // Adds the definition of the key relation from `psParent` to `psChild`
    // (no name): each key field of the parent (kfoAllFields) paired with the
    // child's key field at the same position. A link table without a key
    // first receives VORNINDEX on the child's key fields. "" as child does
    // nothing. A missing child raises (0x800403E8, naming the table); a
    // child with fewer key fields than the parent raises 9.
    void RelationDefAdd(Database& pdbCurr, std::vector<std::string>& psRelDefs,
                        std::string_view psParent, std::string_view psChild);

    // Makes the relations of the definitions, in order. Names that are
    // empty, longer than 64 characters or taken are replaced by generated
    // ones (`plRelNum` is the counter). Unless `pbKeepLinkNames`, a
    // definition whose relation exists already (same tables, attributes and
    // pairs, under any name) is skipped, and a link table as parent is
    // replaced by the table it extends. Refusals: a name clash (3284) is
    // retried under the next name; a non-unique parent key (3609) goes
    // through the link table repair, whose primary index is named
    // `psLinkIndexName`; fields that do not fit (3285) are reported and the
    // relation is skipped; 3251 is skipped silently; any other failure is
    // reported and raised.
    void RelationsAdd(Database& pdbCurr, std::vector<std::string>& psRelDefs, bool pbKeepLinkNames,
                      std::int32_t& plRelNum, std::string_view psLinkIndexName = "VORNINDEX");

    // The definitions (with names) of the relations of an enterprise
    // database, pairs on vORNProjectID left out so that they read as their
    // project file twins. Relations to PROJECT as child are passed over.
    void RelationsGetIDAO(DaoCollection<Relation>& pRelations, std::vector<std::string>& psRelDefs);

    // "parent,child,attributes,pairs" of a relation (no name).
    static std::string RelationDefFnS(Relation& pRel);
    // The same with each pair read child field first.
    static std::string RelationDefReversedFnS(Relation& pRel);

    // The next free generated name for a relation to `psChild`.
    std::string RelationNameNextFnS(Database& pdbCurr, std::string_view psChild,
                                    std::int32_t& plRelNum);

    // The link table repair for `psParent`; the link table's name, or "" when
    // it could not be made. An existing link table is used as it stands.
    std::string LinkTableRepair(Database& pdbCurr, std::string_view psParent,
                                std::int32_t& plRelNum, std::string_view psLinkIndexName);

  private:
    // A name for the relation: `psName` unless it clashes with an index or a
    // relation of the child, else the next generated one.
    std::string UniqueNameFnS(Database& pdbCurr, std::string_view psChild, std::string psName,
                              std::int32_t& plRelNum);
    bool NameTakenFnB(Database& pdbCurr, std::string_view psChild, std::string_view psName);
    // RelationsAdd of one upper-cased definition.
    void AddDefinition(Database& pdbCurr, const std::string& definition, bool pbKeepLinkNames,
                       std::int32_t& plRelNum, std::string_view psLinkIndexName);
    // Whether a relation with the definition's tables, attributes and pairs
    // exists under any name.
    bool RelationExistsFnB(Database& pdbCurr, const std::string& definition);
    // Makes and appends one relation from the split definition under `name`.
    void Append(Database& pdbCurr, const std::vector<std::string>& parts, const std::string& name);
    void Report(std::int32_t textId, std::string_view suffix, std::string_view relation,
                std::string_view description) const;
    // Points the relations from `psParent` at `psLink` instead.
    void MoveChildRelations(Database& pdbCurr, std::string_view psParent, std::string_view psLink);
};

}  // namespace vorn
