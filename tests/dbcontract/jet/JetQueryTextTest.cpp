// The SQL text of saved queries, put together from their stored parts.

#include <gtest/gtest.h>

#include "dbcontract/jet/JetQueryText.h"

namespace vorn {
namespace {

using Part = JetQueryText::Part;

struct QueryCase {
    const char* name;
    std::vector<Part> parts;
    const char* sql;
};

class JetQueryTextTest : public ::testing::TestWithParam<QueryCase> {};

TEST_P(JetQueryTextTest, BuildsTheText) { EXPECT_EQ(JetQueryText::Build(GetParam().parts), GetParam().sql); }

Part P(int attribute, std::string name1, std::string name2, std::string expression, std::int32_t flag = 0,
       std::string order = {}) {
    return Part{attribute, std::move(order), std::move(name1), std::move(name2), std::move(expression), flag};
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, JetQueryTextTest,
    ::testing::Values(
        QueryCase{"select with alias, criteria and order",
                  {P(1, "", "", "", 1), P(3, "", "", "", 0), P(5, "Products", "Product List", ""),
                   P(6, "", "", "[Product List].ProductName"), P(8, "", "", "(([Product List].Discontinued)=No)"),
                   P(11, "D", "", "[Product List].ProductName")},
                  "SELECT [Product List].ProductName\nFROM Products AS [Product List]\n"
                  "WHERE (([Product List].Discontinued)=No)\nORDER BY [Product List].ProductName DESC;"},
        QueryCase{"parts in any order, distinct, top and grouping",
                  {P(9, "", "", "Hole", 0, "\x01"), P(6, "Deepest", "", "Max(Depth)", 0, "\x02"),
                   P(6, "", "", "Hole", 0, "\x01"), P(5, "Samples", "", ""), P(3, "5", "", "", 0x12),
                   P(10, "", "", "Max(Depth)>10"), P(1, "", "", "", 1)},
                  "SELECT DISTINCT TOP 5 Hole, Max(Depth) AS Deepest\nFROM Samples\nGROUP BY Hole\nHAVING Max(Depth)>10;"},
        QueryCase{"parameters and a select-all",
                  {P(1, "", "", "", 1), P(2, "From Date", "", "", 8), P(3, "", "", "", 0x09), P(5, "Orders", "", ""),
                   P(8, "", "", "OrderDate>=[From Date]")},
                  "PARAMETERS [From Date] DateTime;\nSELECT DISTINCTROW *\nFROM Orders\nWHERE OrderDate>=[From Date];"},
        QueryCase{"append",
                  {P(1, "Archive", "", "", 3), P(5, "Orders", "", ""), P(6, "", "", "Orders.*")},
                  "INSERT INTO Archive\nSELECT Orders.*\nFROM Orders;"},
        QueryCase{"make table",
                  {P(1, "Old Orders", "", "", 2), P(5, "Orders", "", ""), P(6, "", "", "OrderID")},
                  "SELECT OrderID INTO [Old Orders]\nFROM Orders;"},
        QueryCase{"update",
                  {P(1, "", "", "", 4), P(5, "Products", "", ""), P(6, "UnitPrice", "", "[UnitPrice]*1.1"),
                   P(8, "", "", "CategoryID=2")},
                  "UPDATE Products SET UnitPrice = [UnitPrice]*1.1\nWHERE CategoryID=2;"},
        QueryCase{"delete",
                  {P(1, "", "", "", 5), P(5, "Orders", "", ""), P(6, "", "", "Orders.*"), P(8, "", "", "Shipped Is Null")},
                  "DELETE Orders.* FROM Orders\nWHERE Shipped Is Null;"},
        QueryCase{"union",
                  {P(1, "", "", "", 9), P(3, "", "", "", 0x03), P(5, "", "X1", "SELECT City FROM Customers"),
                   P(5, "", "X2", "SELECT City FROM Suppliers"), P(11, "", "", "City")},
                  "SELECT City FROM Customers\nUNION SELECT City FROM Suppliers\nORDER BY City;"},
        QueryCase{"pass-through keeps its text", {P(1, "", "", "", 8), P(8, "", "", "EXEC sp_who")}, "EXEC sp_who"}),
    [](const auto& param) {
        std::string name = param.param.name;
        for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        return name;
    });

INSTANTIATE_TEST_SUITE_P(
    Joins, JetQueryTextTest,
    ::testing::Values(
        QueryCase{"two tables",
                  {P(1, "", "", "", 1), P(5, "A", "", ""), P(5, "B", "", ""), P(6, "", "", "A.x"),
                   P(7, "A", "B", "A.id = B.id", 1)},
                  "SELECT A.x\nFROM A INNER JOIN B ON A.id = B.id;"},
        QueryCase{"a chain nests to the left",
                  {P(1, "", "", "", 1), P(5, "A", "", ""), P(5, "B", "", ""), P(5, "C", "", ""), P(6, "", "", "*"),
                   P(7, "A", "B", "A.id = B.a", 2), P(7, "B", "C", "B.id = C.b", 3)},
                  "SELECT *\nFROM (A LEFT JOIN B ON A.id = B.a) RIGHT JOIN C ON B.id = C.b;"},
        QueryCase{"two groups joined at the end",
                  {P(1, "", "", "", 1), P(5, "A", "", ""), P(5, "B", "", ""), P(5, "C", "", ""), P(5, "D", "", ""),
                   P(6, "", "", "*"), P(7, "A", "B", "A.id = B.a", 1), P(7, "C", "D", "C.id = D.c", 1),
                   P(7, "B", "D", "B.id = D.b", 1)},
                  "SELECT *\nFROM (A INNER JOIN B ON A.id = B.a) INNER JOIN (C INNER JOIN D ON C.id = D.c) ON B.id = D.b;"},
        QueryCase{"a second condition on the same pair",
                  {P(1, "", "", "", 1), P(5, "A", "", ""), P(5, "B", "", ""), P(6, "", "", "*"),
                   P(7, "A", "B", "A.k1 = B.k1", 1), P(7, "A", "B", "A.k2 = B.k2", 1)},
                  "SELECT *\nFROM A INNER JOIN B ON A.k1 = B.k1 AND A.k2 = B.k2;"},
        QueryCase{"a table outside the joins",
                  {P(1, "", "", "", 1), P(5, "A", "", ""), P(5, "B", "", ""), P(5, "Lookup", "L", ""),
                   P(6, "", "", "*"), P(7, "A", "B", "A.id = B.a", 1)},
                  "SELECT *\nFROM A INNER JOIN B ON A.id = B.a, Lookup AS L;"}),
    [](const auto& param) {
        std::string name = param.param.name;
        for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        return name;
    });

}  // namespace
}  // namespace vorn
