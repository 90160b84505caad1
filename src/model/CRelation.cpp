#include "model/CRelation.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "foundation/CTextString.h"
#include "foundation/clsProgressInterface.h"
#include "model/CJetEngineOps.h"
#include "model/CUserTableOps.h"
#include "model/CVornIndex.h"
#include "model/KeySetText.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/ErrorRecord.h"
#include "runtime/UserInterface.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr std::int32_t kTableText = 4103;
constexpr std::int32_t kErrorTitleText = 3019;
constexpr std::int32_t kUnexpectedText = 4033;
constexpr std::int32_t kFieldsDoNotFitText = 4034;
constexpr std::int32_t kCreatingLinkText = 3103;
// A clash that survives this many new names is not a clash of names.
constexpr int kNameRetries = 100;

std::string PairsOf(Relation& relation, bool childFirst) {
    std::string pairs;
    for (const auto& field : relation.Fields()) {
        pairs += "," + (childFirst ? field->ForeignName() + "," + field->Name()
                                   : field->Name() + "," + field->ForeignName());
    }
    return pairs;
}

std::string Head(Relation& relation) {
    return relation.Table() + "," + relation.ForeignTable() + "," +
           std::to_string(relation.Attributes());
}

}  // namespace

std::string CRelation::RelationDefFnS(Relation& pRel) { return Head(pRel) + PairsOf(pRel, false); }

std::string CRelation::RelationDefReversedFnS(Relation& pRel) {
    return Head(pRel) + PairsOf(pRel, true);
}

void CRelation::RelationsGetIDAO(DaoCollection<Relation>& pRelations,
                                 std::vector<std::string>& psRelDefs) {
    for (const auto& relation : pRelations) {
        if (relation->ForeignTable() == "PROJECT") continue;
        std::string definition = Head(*relation);
        for (const auto& field : relation->Fields()) {
            if (utf8::ToUpper(field->Name()) == "VORNPROJECTID") continue;
            definition += "," + field->Name() + "," + field->ForeignName();
        }
        psRelDefs.push_back(relation->Name() + "," + definition);
    }
}

void CRelation::RelationDefAdd(Database& pdbCurr, std::vector<std::string>& psRelDefs,
                               std::string_view psParent, std::string_view psChild) {
    if (psChild.empty()) return;
    if (!JetOps().TabledefExistFnB(pdbCurr, psChild)) {
        const ErrorRecord pending = Err();
        throw VornError(pending.IsSet() ? pending.number : errnum::kRelationTableMissing,
                        "CRelation.RelationDefAdd",
                        TextStr().TextStringGetFnS(kTableText) + " '" + std::string(psChild) +
                            "': " + pending.description);
    }
    auto child = pdbCurr.TableDefs().Item(psChild);
    child->Indexes().Refresh();
    auto parent = pdbCurr.TableDefs().Item(psParent);

    std::vector<std::string> parentKeys =
        keyset::Split(TheIndex().VornIndexFieldsFnS(*parent, kfoAllFields, &pdbCurr));
    const std::vector<std::string> childKeys =
        keyset::Split(TheIndex().VornIndexFieldsFnS(*child, kfoAllFields, &pdbCurr));
    if (parentKeys.empty() && UserTab().IsLinkTableNameFnB(psParent)) {
        // A link table takes its key from the table it links to.
        JetOps().IndexCreate(keyset::Join(childKeys, ","), CVornIndex::kIndexName, *parent);
        parentKeys = keyset::Split(TheIndex().VornIndexFieldsFnS(*parent, kfoAllFields, &pdbCurr));
    }
    std::string definition = "," + std::string(psParent) + "," + std::string(psChild) + "," +
                             std::to_string(kKeyRelation + (parentKeys.size() == childKeys.size()));
    for (std::size_t i = 0; i < parentKeys.size(); ++i) {
        if (i >= childKeys.size()) throw VornError::SubscriptOutOfRange("CRelation.RelationDefAdd");
        definition += "," + parentKeys[i] + "," + childKeys[i];
    }
    psRelDefs.push_back(std::move(definition));
}

std::string CRelation::RelationNameNextFnS(Database& pdbCurr, std::string_view psChild,
                                           std::int32_t& plRelNum) {
    std::string name;
    do {
        ++plRelNum;
        char digits[16];
        std::snprintf(digits, sizeof digits, "%04d", static_cast<int>(plRelNum));
        name = "REL" + std::string(digits);
    } while (NameTakenFnB(pdbCurr, psChild, name));
    return name;
}

bool CRelation::NameTakenFnB(Database& pdbCurr, std::string_view psChild, std::string_view psName) {
    // The index test comes first: a relation's foreign index on the child
    // takes the relation's name.
    bool index = false;
    IgnoreErrors(
        [&] { index = JetOps().IndexExistFnB(*pdbCurr.TableDefs().Item(psChild), psName); });
    return index || JetOps().RelationExistFnB(pdbCurr, psName);
}

std::string CRelation::UniqueNameFnS(Database& pdbCurr, std::string_view psChild,
                                     std::string psName, std::int32_t& plRelNum) {
    pdbCurr.TableDefs().Refresh();
    if (NameTakenFnB(pdbCurr, psChild, psName))
        return RelationNameNextFnS(pdbCurr, psChild, plRelNum);
    return psName;
}

void CRelation::Append(Database& pdbCurr, const std::vector<std::string>& parts,
                       const std::string& name) {
    auto relation = pdbCurr.CreateRelation(name);
    relation->SetTable(parts[1]);
    relation->SetForeignTable(parts[2]);
    relation->SetAttributes(CLng(Variant(parts[3])));
    for (std::size_t i = 4; i + 1 < parts.size(); i += 2) {
        auto field = relation->CreateField(parts[i]);
        field->SetForeignName(parts[i + 1]);
        relation->Fields().Append(field);
    }
    pdbCurr.Relations().Append(relation);
    pdbCurr.Relations().Refresh();
    pdbCurr.TableDefs().Item(parts[2])->Indexes().Refresh();
    pdbCurr.TableDefs().Item(parts[1])->Indexes().Refresh();
    pdbCurr.TableDefs().Refresh();
}

void CRelation::Report(std::int32_t textId, std::string_view suffix, std::string_view relation,
                       std::string_view description) const {
    MessageBoxRequest box;
    box.title = TextStr().TextStringGetFnS(kErrorTitleText);
    box.text = TextStr().TextStringGetFnS(textId) + std::string(suffix) + " '" +
               std::string(relation) + "': " + std::string(description);
    box.icon = MsgIcon::kCritical;
    Ui().MessageBox(box);
}

void CRelation::RelationsAdd(Database& pdbCurr, std::vector<std::string>& psRelDefs,
                             bool pbKeepLinkNames, std::int32_t& plRelNum,
                             std::string_view psLinkIndexName) {
    for (const std::string& stored : psRelDefs) {
        AddDefinition(pdbCurr, utf8::ToUpper(stored), pbKeepLinkNames, plRelNum, psLinkIndexName);
    }
    pdbCurr.Relations().Refresh();
}

bool CRelation::RelationExistsFnB(Database& pdbCurr, const std::string& definition) {
    const std::string body = definition.substr(definition.find(',') + 1);
    const auto& relations = pdbCurr.Relations();
    return std::any_of(relations.begin(), relations.end(), [&](const auto& relation) {
        return utf8::ToUpper(RelationDefFnS(*relation)) == body;
    });
}

void CRelation::AddDefinition(Database& pdbCurr, const std::string& definition,
                              bool pbKeepLinkNames, std::int32_t& plRelNum,
                              std::string_view psLinkIndexName) {
    const std::vector<std::string> head = keyset::SplitLimit(definition, 5);
    if (head.size() < 4) return;
    const std::string& child = head[2];
    std::string name = head[0];
    if (name.empty() || static_cast<std::size_t>(utf8::Length(name)) > kMaxNameLength) {
        name = RelationNameNextFnS(pdbCurr, child, plRelNum);
    }
    if (!pbKeepLinkNames && RelationExistsFnB(pdbCurr, definition)) return;
    std::vector<std::string> parts = keyset::Split(definition);
    // A relation read from a link table is made against the table it extends.
    if (!pbKeepLinkNames) parts[1] = UserTab().ParentFromLinkFnS(parts[1]);

    bool repaired = false;
    for (int attempt = 0; attempt < kNameRetries; ++attempt) {
        if (TryStep([&] {
                name = UniqueNameFnS(pdbCurr, child, name, plRelNum);
                Append(pdbCurr, parts, name);
            })) {
            return;
        }
        const ErrorRecord error = Err();
        Err().Clear();
        switch (error.number) {
            case errnum::kJetIndexAlreadyExists:
                // The engine saw a clash the name check did not: next name.
                name = RelationNameNextFnS(pdbCurr, child, plRelNum);
                continue;
            case errnum::kJetNoUniqueIndexForRelation: {
                // The parent's key does not make a row unique for the child:
                // the relation goes through the parent's link table, once.
                if (repaired) return;
                repaired = true;
                parts[1] = LinkTableRepair(pdbCurr, parts[1], plRelNum, psLinkIndexName);
                if (parts[1].empty()) return;
                continue;
            }
            case errnum::kJetFieldInRelationshipInvalid:
                Report(kFieldsDoNotFitText, {}, name, error.description);
                return;
            case errnum::kJetOperationNotSupported:
                return;
            default:
                Report(kUnexpectedText, " CRelation.RelNameCheckIndex", name, error.description);
                error.Raise();
        }
    }
}

std::string CRelation::LinkTableRepair(Database& pdbCurr, std::string_view psParent,
                                       std::int32_t& plRelNum, std::string_view psLinkIndexName) {
    std::string base(psParent);
    if (!base.empty() && base.front() == CUserTableOps::kHiddenMark) {
        const std::size_t link = utf8::ToUpper(base).rfind("LINK");
        if (link != std::string::npos) base.resize(link);
        base.erase(0, 1);
    }
    const std::string link = UserTab().LinkTableNameFnS(base);
    if (JetOps().TabledefExistFnB(pdbCurr, link)) return link;

    const bool made = TryStep([&] {
        auto parent = pdbCurr.TableDefs().Item(psParent);
        const std::string keys = TheIndex().VornIndexFieldsFnS(*parent, kfoAllFields, &pdbCurr);
        pdbCurr.Execute("SELECT " + Ax().AddBracketsToListFnS(keys) + " INTO " +
                        Ax().AddBracketsFnS(link) + " FROM " + Ax().AddBracketsFnS(psParent));
        pdbCurr.TableDefs().Refresh();
        Progress().ProgressText(TextStr().TextStringGetFnS(kCreatingLinkText));
        JetOps().IndexCreate(keys, psLinkIndexName, *pdbCurr.TableDefs().Item(link), true);
    });
    Err().Clear();
    if (!made) return {};

    MoveChildRelations(pdbCurr, psParent, link);
    std::vector<std::string> definitions;
    RelationDefAdd(pdbCurr, definitions, link, psParent);
    RelationsAdd(pdbCurr, definitions, true, plRelNum, psLinkIndexName);
    return link;
}

void CRelation::MoveChildRelations(Database& pdbCurr, std::string_view psParent,
                                   std::string_view psLink) {
    // The names first: each move deletes a relation and appends it again,
    // which shifts the positions of the cursor walk.
    std::vector<std::string> names;
    std::int32_t cursor = 0;
    while (!UserTab().ChildTableByRelFnS(pdbCurr, psParent, cursor).empty()) {
        names.push_back(pdbCurr.Relations().Item(cursor - 1)->Name());
    }
    for (const std::string& name : names) {
        const auto relation = pdbCurr.Relations().Item(name);
        std::vector<std::string> parts = keyset::Split(name + "," + RelationDefFnS(*relation));
        const std::vector<std::string> original = parts;
        parts[1] = std::string(psLink);
        pdbCurr.Relations().Delete(name);
        pdbCurr.Relations().Refresh();
        // A relation the link table cannot carry goes back where it was.
        if (!TryStep([&] { Append(pdbCurr, parts, name); })) {
            IgnoreErrors([&] { Append(pdbCurr, original, name); });
        }
        Err().Clear();
    }
}

}  // namespace vorn
