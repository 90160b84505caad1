#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorn {

// The SQL text of a saved query. A Jet file keeps no text for a query, only
// its parts, one row each in the system table of queries (the kind of
// query, its tables, output columns, joins, criteria, grouping and order);
// the text is put together from them here, as the engine shows it.
class JetQueryText {
public:
    // One stored part of a query.
    struct Part {
        int attribute = 0;  // 1 kind, 2 parameter, 3 options, 4 other database, 5 table,
                            // 6 column, 7 join, 8 criteria, 9 group, 10 group criteria, 11 order
        std::string order;  // the stored order key, compared as bytes
        std::string name1;
        std::string name2;
        std::string expression;
        std::int32_t flag = 0;
    };

    // The SQL of the parts of one query, in any order.
    static std::string Build(std::vector<Part> parts);

    // Quotes a table name in brackets when it needs them.
    static std::string QuoteName(const std::string& name);
};

}  // namespace vorn
