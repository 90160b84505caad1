#include "dbcontract/SqlServerRewriter.h"

#include <cctype>

#include "dbcontract/SqlServerParser.h"
#include "runtime/Utf8.h"

namespace vorn {

bool SqlServerRewriter::IsRowStatement(std::string_view sql) {
    const std::string_view text = utf8::LTrim(sql);
    std::size_t end = 0;
    while (end < text.size() && std::isalpha(static_cast<unsigned char>(text[end]))) ++end;
    const std::string word = utf8::ToUpper(text.substr(0, end));
    return word == "SELECT" || word == "INSERT" || word == "UPDATE" || word == "DELETE";
}

std::string SqlServerRewriter::Rewrite(std::string_view sql) {
    return SqlServerParser(dialect_, sql).Statement();
}

std::string SqlServerRewriter::RewriteCondition(std::string_view condition) {
    return SqlServerParser(dialect_, condition).ConditionOnly();
}

std::string SqlServerRewriter::RewriteOrderList(std::string_view list) {
    return SqlServerParser(dialect_, list).OrderListOnly();
}

std::string SqlServerRewriter::RewriteJet(std::string_view sql) {
    return SqlServerParser(dialect_, sql, true).Statement();
}

std::string SqlServerRewriter::RewriteJetRows(std::string_view source, bool isTable,
                                              std::string_view filter, std::string_view sort) {
    std::string sql = isTable ? "SELECT * FROM " + dialect_.Quote(source) : RewriteJet(source);
    if (filter.empty() && sort.empty()) return sql;
    sql = "SELECT * FROM (" + sql + ") AS " + dialect_.Quote("filtered");
    if (!filter.empty()) sql += " WHERE " + RewriteJetCondition(filter);
    if (!sort.empty()) sql += " ORDER BY " + RewriteJetOrderList(sort);
    return sql;
}

std::string SqlServerRewriter::RewriteJetCondition(std::string_view condition) {
    return SqlServerParser(dialect_, condition, true).ConditionOnly();
}

std::string SqlServerRewriter::RewriteJetOrderList(std::string_view list) {
    return SqlServerParser(dialect_, list, true).OrderListOnly();
}

}  // namespace vorn
