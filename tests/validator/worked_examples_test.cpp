// The validator's documented examples: each gives exactly its lines, in
// order, with its count.
#include <algorithm>

#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

const char kPoint[] =
    "< Point < category dict required < x real > optional < y Small > >"
    "  Small < category int max 9 > >";
const char kList[] =
    "< List < category array membertype Item >"
    "  Item < category union set [ int Name ] >"
    "  Name < category string minlen 2 > >";

TEST_F(ValidatorTest, WorkedExamplesGiveTheirLinesInOrder) {
  const WalkCase cases[] = {
      {kPoint,
       "Point",
       "< x 1 y 12 z 3 >",
       2,
       {"y (optional, type != Small): Number above maximum value 9.000000", "Unknown member z"}},
      {kPoint, "Point", "< x 1 y 9 >", 0, {}},
      {kList,
       "List",
       "[ 5 a ]",
       1,
       {"[1]: Not a valid union type: Trying int: Expected INT was of invalid type",
        "[1]: Not a valid union type: Trying Name: String length below mininum value 2"}},
      {kList, "List", "[ 5 ab ]", 0, {}},
  };
  for (const WalkCase& c : cases) EXPECT_WALK(c);
}

TEST_F(ValidatorTest, SchemaCheckReportsOnEachMemberOfTheDefinitionUnion) {
  const Outcome o = ValidateSchema("< Age < category int bogus 1 > >");
  EXPECT_FALSE(o.valid);
  EXPECT_EQ(o.reports, Lines{});
  for (const char* expected :
       {"Age (value, type != TypeDefn): Not a valid union type: Trying DictDefn: Unknown member "
        "bogus",
        "Age (value, type != TypeDefn): Not a valid union type: Trying ArrayDefn: Not a valid "
        "union type: Trying HomoArrayDefn: Missing required member membertype"}) {
    EXPECT_NE(std::find(o.lines.begin(), o.lines.end(), expected), o.lines.end())
        << expected << "\n"
        << o;
  }
  // One attempt of each of the ten definition forms, in their order.
  EXPECT_EQ(o.lines.front().rfind("Age (value, type != TypeDefn): Not a valid union type: "
                                  "Trying DictDefn: ",
                                  0),
            0u);
  EXPECT_NE(o.lines.back().find("Trying IntersectionDefn: "), std::string::npos);
}

}  // namespace
}  // namespace moxtest
