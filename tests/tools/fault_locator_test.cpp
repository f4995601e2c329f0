// The fault locator against sources in the three formats: each fault line
// of the validator, followed through the schema and the recorded places,
// lands on the value, key or bracket it names; a line that leads nowhere
// in the source lands on the nearest enclosing value and says so.
#include <gtest/gtest.h>

#include <string>

#include "document_places.h"
#include "fault_locator.h"
#include "library_session.h"

namespace posctl {
namespace {

// Keys and a type name that hold ": " and " (", as the prefixes do.
constexpr char kSchema[] =
    "< Root < category dict required < size Small items List (odd: key) Small >"
    "         optional < tags Tags meta Meta > >"
    "  Small < category int max 9 >  List < category array membertype Item >"
    "  Item < category union set [int Name] >  Name < category string minlen 2 >"
    "  Tags < category dict keytype Short valuetype Both >"
    "  Short < category string maxlen 3 >  Both < category intersection set [real Small] >"
    "  Meta < category dict required < id int > > >";

constexpr char kNotation[] =
    "<\n\tsize 12\n\titems [5 a]\n\t(odd: key) 1\n"
    "\ttags < abcd 3 (q \\(key, type != Short\\): r) 1 x 20 >\n\tmeta < >\n\textra 1\n>\n";
constexpr char kJson[] =
    "{\n  \"extra\": 1,\n  \"items\": [\n    5,\n    \"a\"\n  ],\n  \"meta\": {},\n"
    "  \"odd: key\": 1,\n  \"size\": 12,\n  \"tags\": {\n    \"abcd\": 3,\n"
    "    \"q (key, type != Short): r\": 1,\n    \"x\": 20\n  }\n}\n";
constexpr char kTypeA[] =
    "POSStreamerTypeA_Version1.0 <\n\t\"extra\" #1 \n\t\"items\" [\n\t\t#5 \n\t\t\"a\"\n\t]\n"
    "\t\"meta\" <\n\t>\n\t\"odd: key\" #1 \n\t\"size\" #12 \n\t\"tags\" <\n\t\t\"abcd\" #3 \n"
    "\t\t\"q (key, type != Short): r\" #1 \n\t\t\"x\" #20 \n\t>\n>";

struct Case {
  const char* line;
  // "LINE:COLUMN" in the notation, JSON and TypeA sources; a trailing "?"
  // when the place is only the nearest enclosing value.
  const char* notation;
  const char* json;
  const char* typea;
};

constexpr Case kCases[] = {
    {"Unknown member extra", "7:2", "2:3", "2:2"},
    {"items (required, type != List): [1]: Not a valid union type: Trying int: Expected INT "
     "was of invalid type",
     "3:11", "5:5", "5:3"},
    {"meta (optional, type != Meta): Missing required member id", "6:7", "7:11", "7:9"},
    {"size (required, type != Small): Number above maximum value 9.000000", "2:7", "9:11", "10:9"},
    {"tags (optional, type != Tags): abcd (key, type != Short): String length above maximum "
     "value 3",
     "5:9", "11:5", "12:3"},
    // The first " (" is no prefix of this key: the reading that reaches
    // the source wins.
    {"tags (optional, type != Tags): q (key, type != Short): r (key, type != Short): String "
     "length above maximum value 3",
     "5:16", "12:5", "13:3"},
    {"tags (optional, type != Tags): x (value, type != Both): Failed intersection type Small: "
     "Number above maximum value 9.000000",
     "5:50", "13:10", "14:7"},
    {"odd: key (required, type != Small): Number above maximum value 9.000000", "4:13", "8:15",
     "9:13"},
    // Nothing in the source under these: the nearest enclosing value.
    {"tags (optional, type != Tags): nowhere (value, type != Both): Dict object expected", "5:7?",
     "10:11?", "11:9?"},
    {"items (required, type != List): [7]: Expected INT was of invalid type", "3:8?", "3:12?",
     "3:10?"},
    {"Unknown member ghost", "1:1?", "1:1?", "1:29?"},
    // A prefix the schema can't give is the message itself.
    {"size (optional, type != Small): Expected INT was of invalid type", "1:1", "1:1", "1:29"},
};

class FaultLocatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const Procs& procs = session_.procs();
    const char* stop = nullptr;
    Ref schema(procs, procs.posStatics.CreateFromText(kSchema, &stop));
    ASSERT_TRUE(schema);
    model_ = SchemaModel::Read(procs, schema.get());
  }

  static std::string Where(const FaultPlace& place) {
    return std::to_string(place.at.line) + ":" + std::to_string(place.at.column) +
           (place.exact ? "" : "?");
  }

  LibrarySession session_;
  SchemaModel model_;
};

TEST_F(FaultLocatorTest, EachLineLandsOnWhatItNamesInEveryFormat) {
  const struct {
    Format format;
    const char* text;
    const char* Case::*expected;
  } sources[] = {{Format::kNotation, kNotation, &Case::notation},
                 {Format::kJson, kJson, &Case::json},
                 {Format::kTypeA, kTypeA, &Case::typea}};
  for (const auto& source : sources) {
    const InputSource input = InputSource::FromText("in", source.text);
    const SourceNode root = LocateDocumentValues(input, source.format, 64);
    for (const Case& c : kCases) {
      const FaultPlace place = LocateFault(c.line, model_, "Root", root);
      EXPECT_EQ(Where(place), c.*source.expected)
          << DisplayFormatName(source.format) << ": " << c.line;
    }
  }
}

}  // namespace
}  // namespace posctl
