#include "dbcontract/jet/JetQueryText.h"

#include <algorithm>
#include <cctype>

namespace vorn {
namespace {

enum Attribute { kKind = 1, kParameter = 2, kOptions = 3, kDatabase = 4, kTable = 5, kColumn = 6,
                 kJoin = 7, kWhere = 8, kGroup = 9, kHaving = 10, kOrder = 11 };
enum Kind { kSelect = 1, kMakeTable = 2, kAppend = 3, kUpdate = 4, kDelete = 5, kCrosstab = 6,
            kDdl = 7, kPassThrough = 8, kUnion = 9 };
constexpr std::int32_t kAllFields = 0x01;
constexpr std::int32_t kDistinct = 0x02;
constexpr std::int32_t kOwnerAccess = 0x04;
constexpr std::int32_t kDistinctRow = 0x08;
constexpr std::int32_t kTop = 0x10;
constexpr std::int32_t kPercent = 0x20;

using Parts = std::vector<JetQueryText::Part>;

std::vector<const JetQueryText::Part*> Of(const Parts& parts, int attribute) {
    std::vector<const JetQueryText::Part*> found;
    for (const auto& part : parts) {
        if (part.attribute == attribute) found.push_back(&part);
    }
    return found;
}

std::string Join(const std::vector<std::string>& items, const std::string& separator) {
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) text += (i > 0 ? separator : "") + items[i];
    return text;
}

std::string ParameterType(std::int32_t type) {
    switch (type) {
    case 1: return "Bit";
    case 2: return "Byte";
    case 3: return "Short";
    case 4: return "Long";
    case 5: return "Currency";
    case 6: return "IEEESingle";
    case 7: return "IEEEDouble";
    case 8: return "DateTime";
    case 9: return "Binary";
    case 11: return "LongBinary";
    case 12: return "Memo";
    case 15: return "Guid";
    default: return "Text (255)";
    }
}

std::string TableSource(const JetQueryText::Part& table) {
    std::string text = table.expression.empty() ? JetQueryText::QuoteName(table.name1) : "(" + table.expression + ")";
    if (!table.name2.empty()) text += " AS " + JetQueryText::QuoteName(table.name2);
    return text;
}

// The name a table is known by in the query: its alias, else its name.
std::string KnownAs(const JetQueryText::Part& table) { return table.name2.empty() ? table.name1 : table.name2; }

// Joins come as pairs of table names with their condition; tables joined
// before form a group that nests in parentheses as the next join takes it.
std::string FromClause(const Parts& parts) {
    const auto tables = Of(parts, kTable);
    struct Group {
        std::string text;
        std::vector<std::string> names;
    };
    std::vector<Group> groups;
    auto source = [&](const std::string& name) {
        for (const auto* t : tables) {
            if (KnownAs(*t) == name) return TableSource(*t);
        }
        return JetQueryText::QuoteName(name);
    };
    auto groupOf = [&](const std::string& name) -> std::ptrdiff_t {
        for (std::size_t g = 0; g < groups.size(); ++g) {
            if (std::find(groups[g].names.begin(), groups[g].names.end(), name) != groups[g].names.end()) {
                return static_cast<std::ptrdiff_t>(g);
            }
        }
        return -1;
    };
    for (const auto* join : Of(parts, kJoin)) {
        const char* kind = join->flag == 2 ? " LEFT JOIN " : join->flag == 3 ? " RIGHT JOIN " : " INNER JOIN ";
        const auto left = groupOf(join->name1);
        const auto right = groupOf(join->name2);
        if (left >= 0 && left == right) {
            // A second condition between tables already joined.
            groups[static_cast<std::size_t>(left)].text += " AND " + join->expression;
            continue;
        }
        Group joined;
        joined.text = (left >= 0 ? "(" + groups[static_cast<std::size_t>(left)].text + ")" : source(join->name1)) + kind +
                      (right >= 0 ? "(" + groups[static_cast<std::size_t>(right)].text + ")" : source(join->name2)) +
                      " ON " + join->expression;
        for (const auto g : {left, right}) {
            if (g >= 0) {
                const auto& names = groups[static_cast<std::size_t>(g)].names;
                joined.names.insert(joined.names.end(), names.begin(), names.end());
            }
        }
        if (left < 0) joined.names.push_back(join->name1);
        if (right < 0) joined.names.push_back(join->name2);
        for (const auto g : {std::max(left, right), std::min(left, right)}) {
            if (g >= 0) groups.erase(groups.begin() + g);
        }
        groups.push_back(std::move(joined));
    }
    std::vector<std::string> items;
    for (const Group& group : groups) items.push_back(group.text);
    for (const auto* t : tables) {
        if (groupOf(KnownAs(*t)) < 0) items.push_back(TableSource(*t));
    }
    std::string text = Join(items, ", ");
    const auto database = Of(parts, kDatabase);
    if (!database.empty() && !database.front()->name1.empty()) text += " IN '" + database.front()->name1 + "'";
    return text;
}

std::string Column(const JetQueryText::Part& column) {
    if (column.name1.empty() || column.name1 == column.expression) return column.expression;
    return column.expression + " AS " + JetQueryText::QuoteName(column.name1);
}

// WHERE, GROUP BY, HAVING and ORDER BY, each on its own line.
std::string Tail(const Parts& parts, bool withOrder) {
    std::string text;
    for (const auto* p : Of(parts, kWhere)) text += "\nWHERE " + p->expression;
    std::vector<std::string> groups;
    for (const auto* p : Of(parts, kGroup)) groups.push_back(p->expression);
    if (!groups.empty()) text += "\nGROUP BY " + Join(groups, ", ");
    for (const auto* p : Of(parts, kHaving)) text += "\nHAVING " + p->expression;
    std::vector<std::string> orders;
    for (const auto* p : Of(parts, kOrder)) {
        const bool descending = !p->name1.empty() && std::toupper(static_cast<unsigned char>(p->name1[0])) == 'D';
        orders.push_back(p->expression + (descending ? " DESC" : ""));
    }
    if (withOrder && !orders.empty()) text += "\nORDER BY " + Join(orders, ", ");
    return text;
}

std::string SelectList(const Parts& parts, std::int32_t options, const std::string& topValue) {
    std::string text = "SELECT ";
    if ((options & kDistinct) != 0) text += "DISTINCT ";
    if ((options & kDistinctRow) != 0) text += "DISTINCTROW ";
    if ((options & kTop) != 0) text += "TOP " + topValue + ((options & kPercent) != 0 ? " PERCENT " : " ");
    std::vector<std::string> columns;
    if ((options & kAllFields) != 0) columns.push_back("*");
    for (const auto* p : Of(parts, kColumn)) columns.push_back(Column(*p));
    return text + Join(columns, ", ");
}

std::string UnionText(const Parts& parts, std::int32_t options) {
    std::vector<std::string> selects;
    for (const auto* p : Of(parts, kTable)) selects.push_back(p->expression);
    return Join(selects, (options & kDistinct) != 0 ? "\nUNION " : "\nUNION ALL ") + Tail(parts, true);
}

}  // namespace

std::string JetQueryText::QuoteName(const std::string& name) {
    const bool plain = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    });
    return plain ? name : "[" + name + "]";
}

std::string JetQueryText::Build(Parts parts) {
    std::stable_sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) {
        return a.attribute != b.attribute ? a.attribute < b.attribute : a.order < b.order;
    });
    const auto kinds = Of(parts, kKind);
    const int kind = kinds.empty() ? kSelect : kinds.front()->flag;
    const auto optionParts = Of(parts, kOptions);
    const std::int32_t options = optionParts.empty() ? 0 : optionParts.front()->flag;
    const std::string topValue = optionParts.empty() ? "" : optionParts.front()->name1;
    const std::string target = kinds.empty() ? "" : kinds.front()->name1;

    std::string text;
    std::vector<std::string> parameters;
    for (const auto* p : Of(parts, kParameter)) parameters.push_back(QuoteName(p->name1) + " " + ParameterType(p->flag));
    if (!parameters.empty()) text += "PARAMETERS " + Join(parameters, ", ") + ";\n";

    const std::string from = FromClause(parts);
    switch (kind) {
    case kDdl:
    case kPassThrough: {
        const auto where = Of(parts, kWhere);
        return text + (where.empty() ? "" : where.front()->expression);
    }
    case kUnion: return text + UnionText(parts, options) + ";";
    case kUpdate: {
        std::vector<std::string> sets;
        for (const auto* p : Of(parts, kColumn)) sets.push_back(p->name1 + " = " + p->expression);
        return text + "UPDATE " + from + " SET " + Join(sets, ", ") + Tail(parts, false) + ";";
    }
    case kDelete: {
        std::vector<std::string> columns;
        for (const auto* p : Of(parts, kColumn)) columns.push_back(p->expression);
        return text + "DELETE " + Join(columns, ", ") + (columns.empty() ? "" : " ") + "FROM " + from + Tail(parts, false) + ";";
    }
    case kAppend:
        return text + "INSERT INTO " + QuoteName(target) + "\n" + SelectList(parts, options, topValue) + "\nFROM " + from +
               Tail(parts, true) + ";";
    case kMakeTable:
        return text + SelectList(parts, options, topValue) + " INTO " + QuoteName(target) + "\nFROM " + from +
               Tail(parts, true) + ";";
    case kCrosstab:
    default: {
        std::string owner = (options & kOwnerAccess) != 0 ? "\nWITH OWNERACCESS OPTION" : "";
        return text + SelectList(parts, options, topValue) + "\nFROM " + from + Tail(parts, true) + owner + ";";
    }
    }
}

}  // namespace vorn
