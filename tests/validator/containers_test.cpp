// The container categories: the prefixes that say where a line came from,
// the order of the lines, and counts that are not line counts; first the
// documented examples, each with exactly its lines.
#include <algorithm>

#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

TEST_F(ValidatorTest, WorkedExamplesGiveTheirLinesInOrder) {
  const WalkCase cases[] = {
      {kPointSchema, "Point", "< x 1 y 12 z 3 >", 2,
       "y (optional, type != Small): Number above maximum value 9.000000\n"
       "Unknown member z"},
      {kPointSchema, "Point", "< x 1 y 9 >", 0, ""},
      {kListSchema, "List", "[ 5 a ]", 1,
       "[1]: Not a valid union type: Trying int: Expected INT was of invalid type\n"
       "[1]: Not a valid union type: Trying Name: String length below mininum value 2"},
      {kListSchema, "List", "[ 5 ab ]", 0, ""},
  };
  ExpectWalks(cases);
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

TEST_F(ValidatorTest, ArraysCheckTheirLengthThenEachMemberInOrder) {
  const WalkCase cases[] = {
      {"< A < category array > >", "A", "x", 1, "Array object expected"},
      {"< A < category array minlen 2 maxlen 0 > >", "A", "[ 1 ]", 2,
       "Array length below mininum value 2\n"
       "Array length above maximum value"},
      // The length lines come first and don't stop the member checks.
      {"< A < category array maxlen 2 membertype int > >", "A", "[ x 1 2 ]", 2,
       "Array length above maximum value\n"
       "[0]: Expected INT was of invalid type"},
      {"< A < category array membertype B > B < category array membertype int > >", "A",
       "[ [ 1 ] [ x 2 y ] ]", 2,
       "[1]: [0]: Expected INT was of invalid type\n"
       "[1]: [2]: Expected INT was of invalid type"},
      // A definition in place of a name is no reference: no member check.
      {"< A < category array membertype < category int > > >", "A", "[ x ]", 0, ""},
      // Heterogeneous: one name per member, or one line and no member check.
      {"< A < category array membertype [ int string ] > >", "A", "[ 1 2 ]", 1,
       "[1]: Expected STRING was of invalid type"},
      {"< A < category array membertype [ int string ] > >", "A", "[ x 2 3 ]", 1,
       "Heterogenous array object size did not match type array size"},
      {"< A < category array membertype [] > >", "A", "[]", 0, ""},
      {"< A < category array membertype [] > >", "A", "[ 1 ]", 1,
       "Heterogenous array object size did not match type array size"},
      {"< A < category array membertype [ int 5 ] > >", "A", "[ 1 2 ]", -1,
       "downcast from CPOSObject to CPOSString failed"},
  };
  ExpectWalks(cases);
}

TEST_F(ValidatorTest, DictsCheckRequiredMembersFirstThenEachKeyInOrder) {
  const WalkCase cases[] = {
      {"< D < category dict > >", "D", "x", 1, "Dict object expected"},
      {"< D < category dict > >", "D", "<>", 0, ""},
      // Missing members in key order, and nothing else is looked at.
      {"< D < category dict required < b int a int > > >", "D", "< z x >", 2,
       "Missing required member a\n"
       "Missing required member b"},
      // Each step that names a member checks it, each with its own lines.
      {"< D < category dict required < a int > optional < a string > > >", "D", "< a 1 >", 1,
       "a (optional, type != string): Expected STRING was of invalid type"},
      {"< D < category dict required < a int > > >", "D", "< a x >", 1,
       "a (required, type != int): Expected INT was of invalid type"},
      {"< D < category dict keytype K valuetype int > K < category string minlen 2 > >", "D",
       "< a x bb 1 >", 2,
       "a (key, type != K): String length below mininum value 2\n"
       "a (value, type != int): Expected INT was of invalid type"},
      // A value type alone doesn't make a member known.
      {"< D < category dict valuetype int > >", "D", "< a x >", 2,
       "a (value, type != int): Expected INT was of invalid type\n"
       "Unknown member a"},
      {"< D < category dict optional < b int > > >", "D", "< c 1 b x a 1 >", 3,
       "Unknown member a\n"
       "b (optional, type != int): Expected INT was of invalid type\n"
       "Unknown member c"},
      // Entries of another class count as absent.
      {"< D < category dict optional < a 5 > > >", "D", "< a 1 >", 1, "Unknown member a"},
      {"< D < category dict required [ a ] > >", "D", "<>", 0, ""},
  };
  ExpectWalks(cases);
}

TEST_F(ValidatorTest, UnionsTakeTheFirstMemberThatFitsAndCountOneOtherwise) {
  const char* const intersection =
      "< I < category intersection set [ U int ] > U < category union set [ string real ] > >";
  const WalkCase cases[] = {
      // Success on the last member says nothing of the earlier ones.
      {"< U < category union set [ int string ] > >", "U", "x", 0, ""},
      {"< U < category union set [ int string ] > >", "U", "[]", 1,
       "Not a valid union type: Trying int: Expected INT was of invalid type\n"
       "Not a valid union type: Trying string: Expected STRING was of invalid type"},
      // A set that is no array has no member: a failure without a line.
      {"< U < category union set < a int > > >", "U", "x", 1, ""},
      {"< U < category union set [ 5 ] > >", "U", "x", -1,
       "downcast from CPOSObject to CPOSString failed"},
      // Every member of an intersection is tried; a union inside counts one.
      {"< I < category intersection set [ int P ] > P < category real min 5 > >", "I", "2.5", 2,
       "Failed intersection type int: INT was not a whole number\n"
       "Failed intersection type P: Number below mininum value 5.000000"},
      {intersection, "I", "[]", 2,
       "Failed intersection type U: Not a valid union type: Trying string: Expected STRING was "
       "of invalid type\n"
       "Failed intersection type U: Not a valid union type: Trying real: Expected REAL was of "
       "invalid type\n"
       "Failed intersection type int: Expected INT was of invalid type"},
      {"< I < category intersection set [] > >", "I", "x", 0, ""},
  };
  ExpectWalks(cases);
}

}  // namespace
}  // namespace moxtest
