// Names, built-in and defined, and the scalar categories: every message with
// its exact text, its place among the lines and its count.
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

TEST_F(ValidatorTest, BuiltinNamesAcceptTheirClassAndNameTheirOwnFault) {
  const char* const none = "< >";
  const WalkCase cases[] = {
      {none, "any", "[ x ]", 0, ""},
      {none, "bool", "0", 0, ""},
      {none, "bool", "1", 0, ""},
      {none, "bool", "true", 0, ""},
      {none, "bool", "false", 0, ""},
      {none, "bool", "2", 1, "BOOL was a number unequal to zero or one"},
      {none, "bool", "@nan", 1, "BOOL was a number unequal to zero or one"},
      {none, "bool", "True", 1, "BOOL was not a valid string (true/false)"},
      {none, "bool", "(1)", 1, "BOOL was not a valid string (true/false)"},
      {none, "bool", "[]", 1, "Expected BOOL was of invalid type"},
      {none, "int", "-2147483648", 0, ""},
      {none, "int", "2147483647", 0, ""},
      {none, "int", "2147483648", 1, "INT was not a whole number"},
      {none, "int", "2.5", 1, "INT was not a whole number"},
      {none, "int", "@nan", 1, "INT was not a whole number"},
      {none, "int", "x", 1, "Expected INT was of invalid type"},
      {none, "real", "2.5", 0, ""},
      {none, "real", "x", 1, "Expected REAL was of invalid type"},
      {none, "string", "x", 0, ""},
      {none, "string", "1", 1, "Expected STRING was of invalid type"},
      {none, "unicodestring", "`0041`", 0, ""},
      {none, "unicodestring", "x", 1, "Expected UNICODESTRING was of invalid type"},
      {none, "bindata", "@bin:t:3", 0, ""},
      {none, "bindata", "x", 1, "Expected BINDATA was of invalid type"},
      {none, "rawptr", "@ptr", 0, ""},
      {none, "rawptr", "x", 1, "Expected RAWPTR was of invalid type"},
      {none, "moxobjref", "@ptr", 0, ""},
      {none, "moxobjref", "`0041`", 1, "Expected OBJREF was of invalid type"},
      {none, "ctbaseobjref", "@bin:t:1", 1, "Expected OBJREF was of invalid type"},
      {none, "moxerrorobjref", "<>", 1, "Expected OBJREF was of invalid type"},
      // No object at all passes "any" only.
      {none, "any", "@empty", 0, ""},
      {none, "bool", "@empty", 1, "Expected BOOL was of invalid type"},
      {none, "int", "@empty", 1, "Expected INT was of invalid type"},
      {none, "string", "@empty", 1, "Expected STRING was of invalid type"},
      {none, "moxobjref", "@empty", 1, "Expected OBJREF was of invalid type"},
      // The built-in check runs first: the schema's entry is never read.
      {"< int < category string > >", "int", "5", 0, ""},
      {"< string < minlen 3 > >", "string", "a", 0, ""},
  };
  ExpectWalks(cases);
}

TEST_F(ValidatorTest, DefinitionsAreFoundByNameAndReadByTheirCategory) {
  const WalkCase cases[] = {
      {"< >", "T", "1", 1, "Schema not applicable, no definition for T"},
      {"< S x >", "S", "a", 1, "Schema not applicable, no definition for S"},
      {"< S < minlen 3 > >", "S", "a", -1, "Malformed schema definition for S, no category"},
      {"< S < category 5 > >", "S", "a", -1, "Malformed schema definition for S, no category"},
      {"< S < category Int > >", "S", "1", -1, "Unknown category in schema"},
      {"< R < category ctbaseobjref > >", "R", "x", 1, "Expected OBJREF was of invalid type"},
      {"< R < category moxerrorobjref > >", "R", "1", 1, "Expected OBJREF was of invalid type"},
  };
  ExpectWalks(cases);
}

TEST_F(ValidatorTest, NumberLimitsEachAddALineInTheirOrder) {
  const WalkCase cases[] = {
      {"< N < category int min 5 max 3 > >", "N", "4", 2,
       "Number below mininum value 5.000000\n"
       "Number above maximum value 3.000000"},
      {"< N < category int maxexcl 3 minexcl 5 > >", "N", "4", 2,
       "Number below mininum value 5.000000 (exclusive)\n"
       "Number above maximum value 3.000000 (exclusive)"},
      {"< N < category int min 3 minexcl 3 > >", "N", "3", 1,
       "Number below mininum value 3.000000 (exclusive)"},
      {"< N < category int max 3 maxexcl 3 > >", "N", "3", 1,
       "Number above maximum value 3.000000 (exclusive)"},
      // The class comes first: limits are never tried on another class.
      {"< N < category int max 9 > >", "N", "2.5", 1, "INT was not a whole number"},
      {"< N < category real min 5 > >", "N", "x", 1, "Expected REAL was of invalid type"},
      // A limit of another class is no limit; a NaN passes every limit.
      {"< N < category real min x max (1) > >", "N", "-100", 0, ""},
      {"< N < category real min 5 maxexcl 0 > >", "N", "@nan", 0, ""},
      // Limits print in single precision; "int" limits compare as doubles.
      {"< N < category real min 16777217 > >", "N", "1", 1,
       "Number below mininum value 16777216.000000"},
      {"< N < category real maxexcl 0.1 > >", "N", "0.1", 1,
       "Number above maximum value 0.100000 (exclusive)"},
      {"< N < category int min 1.5 minlen 9 > >", "N", "2", 0, ""},
  };
  ExpectWalks(cases);
}

TEST_F(ValidatorTest, TextAndBlockLimitsEachAddALineInTheirOrder) {
  const WalkCase cases[] = {
      {"< S < category string minlen 0 > >", "S", "()", 0, ""},
      {"< S < category string maxlen 0 > >", "S", "a", 1, "String length above maximum value 0"},
      {"< S < category string illegalchars () > >", "S", "abc", 0, ""},
      {"< S < category string minlen 5 illegalchars xyz oneof [ a b ] > >", "S", "x", 3,
       "String length below mininum value 5\n"
       "String contains illegal characters in 'xyz'\n"
       "String is not one of the enumerated values"},
      {"< S < category string oneof [ a b ] > >", "S", "b", 0, ""},
      {"< S < category string oneof [] > >", "S", "a", 1,
       "String is not one of the enumerated values"},
      // Members are read up to the first match, and each read must be a String.
      {"< S < category string oneof [ x 1 ] > >", "S", "x", 0, ""},
      {"< S < category string oneof [ 1 x ] > >", "S", "x", -1,
       "downcast from CPOSObject to CPOSString failed"},
      // Lengths compare as doubles and print truncated to 32 bits.
      {"< S < category string minlen 1.5 > >", "S", "ab", 0, ""},
      {"< S < category string minlen 10000000000 > >", "S", "a", 1,
       "String length below mininum value -2147483648"},
      {"< S < category string maxlen 3 > >", "S", "(\xc3\xa9\xc3\xa9)", 1,
       "String length above maximum value 3"},
      {"< U < category unicodestring minlen 3 maxlen 1 > >", "U", "`00410042`", 2,
       "Unicode String length below mininum value 3\n"
       "Unicode String length above maximum value 1"},
      {"< U < category unicodestring maxlen 1 > >", "U", "`D83DDE00`", 1,
       "Unicode String length above maximum value 1"},
      // Blocks speak of strings, and their enumeration names the block type.
      {"< B < category bindata minlen 4 maxlen 1 oneof [ jpeg png ] > >", "B", "@bin:gif:2", 3,
       "String length below mininum value 4\n"
       "String length above maximum value 1\n"
       "TypeName is not one of the enumerated values"},
      {"< B < category bindata oneof [ jpeg png ] illegalchars b > >", "B", "@bin:png:2", 0, ""},
  };
  ExpectWalks(cases);
}

}  // namespace
}  // namespace moxtest
