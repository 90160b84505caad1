// The key set operations that work on the text of a list alone.
#include <string>
#include <string_view>
#include <vector>

#include "foundation/CAx0.h"
#include "model/CVornIndex.h"
#include "model/KeySetText.h"
#include "runtime/Utf8.h"

namespace vorn {

bool CVornIndex::VornKeysetFieldFnB(std::string_view psField) const {
    return Ax().StringInCommaListFnB(kStandardKeys, Ax().RemoveBracketsFnS(psField));
}

bool CVornIndex::PointRelatedKeysetFnB(std::string_view psKeyset) const {
    const std::string bracketed = Ax().AddBracketsToListFnS(psKeyset);
    return utf8::InStr(1, bracketed, "[PointID]", true) > 0;
}

std::int16_t CVornIndex::LeafKeyColFnI(std::string_view psKeyset) const {
    if (psKeyset.empty()) return 0;
    const std::vector<std::string> fields = keyset::Split(psKeyset);
    for (std::size_t column = fields.size(); column > 0; --column) {
        if (VornKeysetFieldFnB(fields[column - 1])) return static_cast<std::int16_t>(column);
    }
    return static_cast<std::int16_t>(fields.size());
}

std::string CVornIndex::VornKeyFieldsSubsetFnS(std::string_view psIndexFields,
                                               std::int32_t piOpt) const {
    if (psIndexFields.empty()) return {};
    const std::string list(psIndexFields);

    if (piOpt == kfoLeafOnward || piOpt == kfoParentKeys || piOpt == kfoAfterLeaf) {
        // Byte offset of the leaf's first character: commas are single bytes.
        const std::size_t leafStart = keyset::FieldStart(list, LeafKeyColFnI(list));
        if (piOpt == kfoParentKeys) {
            // A leaf in the first column has no parents.
            return leafStart < 2 ? std::string() : list.substr(0, leafStart - 1);
        }
        if (piOpt == kfoAfterLeaf) {
            const std::size_t comma = list.find(',', leafStart);
            return comma == std::string::npos ? std::string() : list.substr(comma + 1);
        }
        return list.substr(leafStart);
    }

    if (piOpt > 0 && (piOpt & 0x8000) == 0) {
        // A level: the list up to the field after it. Past the end the field
        // wraps round to the first one, and the whole list comes back.
        const std::string next =
            KeyFieldByLevelFnS(list, static_cast<std::int16_t>(piOpt + 1), false);
        const std::int32_t position = Ax().PsInCommaListFnL(list, next);
        if (position > 1) return utf8::Left(list, position - 2);
        return list;
    }

    // kfoStandardKeys keeps the standard fields; every other value keeps the
    // rest, which is how the extended keys are listed.
    const bool standard = piOpt == kfoStandardKeys;
    std::vector<std::string> kept;
    for (const std::string& field : keyset::Split(list)) {
        if (VornKeysetFieldFnB(field) != standard) continue;
        if (standard && utf8::EqualsIgnoreCase(Ax().RemoveBracketsFnS(field), "vORNProjectID")) {
            continue;
        }
        kept.push_back(field);
    }
    return keyset::Join(kept, ",");
}

std::string CVornIndex::KeyFieldByLevelFnS(std::string_view psKeyset, std::int16_t piLevel,
                                           bool pbNonVorn) const {
    std::string list(psKeyset);
    if (!pbNonVorn) {
        std::string standard = VornKeyFieldsSubsetFnS(list, kfoStandardKeys);
        if (!standard.empty()) list = std::move(standard);
    }
    std::int32_t level = piLevel;
    if (level < 0) level = keyset::CommaCount(list) + 2 + level;
    // Walking past the last comma starts again at the first field: callers
    // rely on the wrap.
    std::size_t position = 0;
    for (std::int32_t step = 1; step < level; ++step) {
        const std::size_t comma = list.find(',', position);
        position = comma == std::string::npos ? 0 : comma + 1;
    }
    const std::size_t end = list.find(',', position);
    return list.substr(position, end == std::string::npos ? std::string::npos : end - position);
}

std::string CVornIndex::KeysOmitLeaf(std::string_view psKeys) const {
    const std::string list(psKeys);
    const std::int16_t leaf = LeafKeyColFnI(list);
    const std::int32_t count = keyset::CommaCount(list) + 1;
    // Deliberately not empty: a top-level list is its own parent list.
    if (count <= 1 || leaf <= 1) return list;
    std::size_t cut = list.size();
    for (std::int32_t column = leaf; column <= count; ++column) {
        cut = list.rfind(',', cut - 1);
    }
    return list.substr(0, cut);
}

std::string CVornIndex::KeysAddlUniqueFnS(std::string_view psKeyset) const {
    std::string list(psKeyset);
    const std::int16_t leaf = LeafKeyColFnI(list);
    if (leaf > 1) list = list.substr(keyset::FieldStart(list, leaf));
    const std::size_t comma = list.find(',');
    return comma == std::string::npos ? std::string() : list.substr(comma + 1);
}

std::int16_t CVornIndex::DataTypeFromKeyNameFnI(std::string_view psFieldName) const {
    const std::size_t dot = psFieldName.find('.');
    const std::string_view field =
        dot == std::string_view::npos ? psFieldName : psFieldName.substr(dot + 1);
    const std::string name = utf8::ToUpper(Ax().RemoveBracketsFnS(field));
    if (name == "VORNRECID" || name == "VORNPROJECTID" || name == "VORNSEQUENCE") return 4;
    if (name == "DATETIME") return 8;
    if (name == "DEPTH" || name == "READING" || name == "PARTICLE_SIZE" || name == "ELAPSEDTIME") {
        return 7;
    }
    // Reading2 is text although Reading is a number: the key sets were
    // designed so.
    return 10;
}

}  // namespace vorn
