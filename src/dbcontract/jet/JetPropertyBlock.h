#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

// The stored properties of one object of a Jet or ACE file: the block that
// the catalog keeps for each table, query and the database itself ("KKD" in
// Jet 3, "MR2" in Jet 4 and ACE). The block holds a pool of property names,
// then one group for the object itself (an empty name) and one for each of
// its columns (named after the column); each entry has a type code and a
// value in its stored form, which is decoded here with its type, so that a
// boolean stays a boolean and a number a number.
class JetPropertyBlock {
public:
    struct Group {
        std::string name;  // "" for the object itself, else the column's name
        std::vector<PropertyInfo> properties;  // DAO type codes, typed values
    };

    // Parses a block. Every length is checked against the bytes, so damaged
    // bytes end the parse: what was read up to there is kept and
    // `Damaged()` says so. Entries of a type that cannot be decoded are left
    // out and named in `Undecoded()`.
    JetPropertyBlock(std::span<const std::uint8_t> bytes, bool jet3, std::uint16_t codePage = 1252);

    const std::vector<Group>& Groups() const { return groups_; }
    // The group of `name` ("" for the object), nullptr when there is none.
    const Group* Find(const std::string& name) const;
    bool Damaged() const { return damaged_; }
    const std::vector<std::string>& Undecoded() const { return undecoded_; }

private:
    bool ReadNames(std::span<const std::uint8_t> chunk);
    bool ReadGroup(std::span<const std::uint8_t> chunk);

    bool jet3_;
    std::uint16_t codePage_;
    std::vector<std::string> names_;
    std::vector<Group> groups_;
    std::vector<std::string> undecoded_;
    bool damaged_ = false;
};

}  // namespace vorn
