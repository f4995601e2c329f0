// The parts that reason about a schema: the nearest known name of a typo,
// and explain's walk of a schema along an address.
#include <gtest/gtest.h>

#include <string>

#include "address.h"
#include "library_session.h"
#include "nearest_name.h"
#include "schema_explain.h"

namespace posctl {
namespace {

TEST(NearestNameTest, OnlyNamesNearEnoughToBeATypo) {
  const std::vector<std::string> keys = {"category", "minlen", "maxlen", "illegalchars", "oneof"};
  const struct {
    const char* typo;
    const char* expected;
  } cases[] = {
      {"maxlne", "maxlen"},      // two neighbours swapped: one edit
      {"minln", "minlen"},       // one missing
      {"categroy", "category"},  // a swap in a long name
      {"illegalchar", "illegalchars"},
      {"oneoff", "oneof"},
      {"max", ""},     // three edits from maxlen: no guess
      {"mxlan", ""},   // two edits in a name of five
      {"minlen", ""},  // a known name is no typo
  };
  for (const auto& c : cases) EXPECT_EQ(NearestName(c.typo, keys), c.expected) << c.typo;
  EXPECT_EQ(EditDistance("", "abc"), 3u);
  EXPECT_EQ(EditDistance("abcd", "badc"), 2u);
}

constexpr char kSchema[] =
    "< Settings < category dict required < window Window > optional < fonts Fonts > >"
    "  Window < category dict required < width Width > keytype string valuetype any >"
    "  Width < category int min 100 max 8000 >"
    "  Fonts < category array membertype Font maxlen 4 >"
    "  Font < category union set [FontName Face] >"
    "  FontName < category string minlen 1 illegalchars (/) >"
    "  Face < category dict required < family FontName > >"
    "  Pair < category array membertype [real string] > >";

TEST(ExplainTest, WalksTheSchemaAlongTheAddress) {
  LibrarySession session;
  const Procs& procs = session.procs();
  const char* stop = nullptr;
  Ref schema(procs, procs.posStatics.CreateFromText(kSchema, &stop));
  ASSERT_TRUE(schema);
  const SchemaModel model = SchemaModel::Read(procs, schema.get());
  const struct {
    const char* type;
    const char* address;
    bool pointer;
    bool allowed;
    const char* lines;
  } cases[] = {
      {"Settings", "window.width", false, true,
       "the top level: type Settings: a dictionary: required window; optional fonts; no other "
       "members\n"
       "  'window': a required member of Settings, type Window: a dictionary: required width; "
       "any other key of type string, its value of type any\n"
       "    'window.width': a required member of Window (its key of type string), type Width: a "
       "whole number that fits 32 bits, from 100 to 8000\n"
       "    'window.width': a member of Window (its key of type string), type any: anything, or "
       "nothing at all\n"},
      {"Settings", "/fonts/2/family", true, true,
       "the top level: type Settings: a dictionary: required window; optional fonts; no other "
       "members\n"
       "  '/fonts': an optional member of Settings, type Fonts: an array, at most 4 members, "
       "each member of type Font\n"
       "    '/fonts/2': member 2 of Fonts, type Font: any one of the types FontName, Face\n"
       "      as a member of union Font, type FontName: a string, at least 1 bytes long, "
       "without any of the characters '/'\n"
       "      '/fonts/2/family' can't be: a value of type FontName has no members\n"
       "      as a member of union Font, type Face: a dictionary: required family; no other "
       "members\n"
       "        '/fonts/2/family': a required member of Face, type FontName: a string, at least "
       "1 bytes long, without any of the characters '/'\n"},
      {"Settings", "fonts[4]", false, false,
       "the top level: type Settings: a dictionary: required window; optional fonts; no other "
       "members\n"
       "  'fonts': an optional member of Settings, type Fonts: an array, at most 4 members, each "
       "member of type Font\n"
       "    'fonts[4]' can't be: type Fonts allows at most 4 members\n"},
      {"Settings", "colour", false, false,
       "the top level: type Settings: a dictionary: required window; optional fonts; no other "
       "members\n"
       "  'colour' can't be: type Settings has no member 'colour' (the validator says \"Unknown "
       "member colour\")\n"},
      {"Pair", "[2]", false, false,
       "the top level: type Pair: an array of exactly 2 members, of the types real, string in "
       "turn\n"
       "  '[2]' can't be: type Pair has exactly 2 members\n"},
      {"Nowhere", "a", false, false,
       "the top level: type Nowhere: no definition in the schema; the validator says \"Schema "
       "not applicable, no definition for Nowhere\"\n"},
  };
  for (const auto& c : cases) {
    const Explanation explanation =
        ExplainAddress(model, c.type, ParseAddress(c.address, c.pointer));
    std::string lines;
    for (const std::string& line : explanation.lines) lines += line + "\n";
    EXPECT_EQ(lines, c.lines) << c.address;
    EXPECT_EQ(explanation.allowed, c.allowed) << c.address;
  }
}

}  // namespace
}  // namespace posctl
