// The two readers of a schema: the meta-schema behind ValidateSchema and the
// walker behind Validate. Where they disagree, each side is shown as it is.
#include <algorithm>
#include <cstring>

#include "binding/host_wrappers.h"
#include "validator/meta_schema.h"
#include "validator/schema_check.h"
#include "validator/validator_fixture.h"

namespace moxtest {
namespace {

using NPOSValidatorImpl::MetaSchemaText;

bool HasLineEndingWith(const Lines& lines, const std::string& end) {
  return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return line.size() >= end.size() &&
           line.compare(line.size() - end.size(), end.size(), end) == 0;
  });
}

// One point where the readers differ: whether the meta-schema takes the
// schema, and a walk with that schema.
struct Disagreement {
  bool schemaValid;
  WalkCase walk;
};

TEST_F(ValidatorTest, TheMetaSchemaAndTheWalkerDisagreeWhereTheyAlwaysHave) {
  const Disagreement cases[] = {
      // "objref" is a category to the meta-schema only; the long words to
      // the walker only.
      {true, {"< A < category objref > >", "A", "@ptr", -1, "Unknown category in schema"}},
      {false, {"< A < category moxobjref > >", "A", "@ptr", 0, ""}},
      {false, {"< A < category rawptr > >", "A", "@ptr", 0, ""}},
      {false, {"< A < category any > >", "A", "1", -1, "Unknown category in schema"}},
      {false, {"< A < category bool > >", "A", "1", -1, "Unknown category in schema"}},
      {false, {"< A < category custom > >", "A", "1", -1, "Unknown category in schema"}},
      // Lengths are reals to one, compared as doubles and printed truncated
      // by the other.
      {true,
       {"< A < category string minlen 1.5 > >", "A", "a", 1,
        "String length below mininum value 1"}},
      {false,
       {"< A < category int min 1.5 > >", "A", "1", 1, "Number below mininum value 1.500000"}},
      {false,
       {"< A < category array membertype [ int ] maxlen 0 > >", "A", "[ 1 ]", 1,
        "Array length above maximum value"}},
      {false, {"< A < category array > >", "A", "[ x ]", 0, ""}},
      {true, {"< U < category union set [] > >", "U", "1", 1, ""}},
      {false, {"< U < category union > >", "U", "1", 1, ""}},
      {false, {"< I < category intersection > >", "I", "1", 0, ""}},
      {false, {"< B < category bindata illegalchars b > >", "B", "@bin:b:1", 0, ""}},
      {true, {"< D < category dict valuetype int > >", "D", "< a 1 >", 1, "Unknown member a"}},
      // A name without a definition is a fault of the schema to one, and of
      // each value that uses it to the other.
      {false, {"< A < category array membertype B > >", "A", "[]", 0, ""}},
      {false,
       {"< A < category array membertype B > >", "A", "[ 1 2 ]", 2,
        "[0]: Schema not applicable, no definition for B\n"
        "[1]: Schema not applicable, no definition for B"}},
  };
  for (const Disagreement& c : cases) {
    const Outcome schema = ValidateSchema(c.walk.schema);
    EXPECT_EQ(schema.valid, c.schemaValid) << c.walk.schema << "\n" << schema;
    EXPECT_EQ(schema.lines.empty(), c.schemaValid) << c.walk.schema;
    ExpectWalks(&c.walk, 1);
  }
  EXPECT_TRUE(HasLineEndingWith(ValidateSchema("< A < category array membertype B > >").lines,
                                "Cannot locate definition of type B"));
}

TEST_F(ValidatorTest, SchemaChecksKnowTheBuiltinNamesAndTheSchemasOwnKeysOnly) {
  // Every definition form, each naming types of all three sources.
  const char* const valid =
      "< I < category int min -1 max 5 minexcl -2 maxexcl 6 >"
      "  R < category real min 0.5 >"
      "  S < category string minlen 0 maxlen 2.5 illegalchars (\\)) oneof [ a b ] >"
      "  U < category unicodestring maxlen 3 >"
      "  B < category bindata oneof [ png ] minlen 1 >"
      "  O < category objref >"
      "  H < category array membertype I minlen 1 >"
      "  T < category array membertype [ I string moxerrorobjref ] >"
      "  D < category dict required < i I > optional < r R > keytype S valuetype any >"
      "  N < category union set [ I rawptr ] >"
      "  X < category intersection set [] >"
      "  L < category array membertype L > >";
  const struct {
    const char* schema;
    bool valid;
  } cases[] = {
      {valid, true},
      {"< >", true},
      {MetaSchemaText, true},
      {"< A < category array membertype objref > >", false},
      {"< A < category array membertype dict > >", false},
      {"< A < category string > B 1 >", false},
      {"< A < category union set [ B 5 ] > B < category int > >", false},
  };
  for (const auto& c : cases) {
    const Outcome o = ValidateSchema(c.schema);
    EXPECT_EQ(o.valid, c.valid) << c.schema << "\n" << o;
    EXPECT_EQ(o.reports, Lines{});
  }
  // The meta-schema defines its 29 names, and is a schema of its own kind.
  EXPECT_EQ(CPOSDict(Parse(MetaSchemaText)).Count(), 29u);
  // Names of one check are not known to the next; without an error
  // procedure the answer is the same and no text goes anywhere.
  const char* const uses = "< B < category array membertype A > >";
  EXPECT_TRUE(ValidateSchema("< A < category int > B < category array membertype A > >").valid);
  EXPECT_FALSE(ValidateSchema(uses).valid);
  EXPECT_FALSE(StructEntries::ValidateSchema(Parse(uses).Container(), nullptr));
  EXPECT_EQ(TakeReports(), Lines{});
  // A name of zero length fails its shape; its existence is not asked.
  const Outcome empty = ValidateSchema("< A < category array membertype () > >");
  EXPECT_TRUE(HasLineEndingWith(
      empty.lines,
      "HomoArrayDefn: membertype (required, type != TypeName): String length below "
      "mininum value 1"))
      << empty;
  EXPECT_FALSE(HasLineEndingWith(empty.lines, "Cannot locate definition of type "));
}

TEST_F(ValidatorTest, SchemaCheckFailuresLeaveThroughItsEntry) {
  std::string raised;
  // No dictionary: the iterator of its keys says so, and is missing.
  const Outcome number = ValidateSchema("5", &raised);
  EXPECT_EQ(number.count, -1);
  EXPECT_EQ(number.reports, Lines{"instance was not an POSDict"});
  EXPECT_EQ(raised, "invalid container");
  // The meta-schema is parsed anew at each check, and may fail to parse.
  const CPOSObject schema = Parse("< A < category int > >");
  moxhost::Runtime::Get().FailNthAllocation(1);
  EXPECT_EQ(ValidateSchema(schema, &raised).count, -1);
  EXPECT_EQ(raised, "CreateFromText failed");
  moxhost::Runtime::Get().ClearFaults();
  EXPECT_TRUE(ValidateSchema(schema).valid);
  // A name of 990 characters fits the callback's buffer, but not the line
  // that the prefixes make of it.
  auto arrayOf = [](const std::string& memberType) {
    CPOSObject schema = Parse("< A < category array > >");
    CPOSDict(CPOSDict(schema).Get("A")).Put("membertype", CPOSString::New(memberType.c_str()));
    return schema;
  };
  EXPECT_EQ(ValidateSchema(arrayOf(std::string(990, 'n')), &raised).count, -1);
  EXPECT_EQ(raised, "FormatIntoPOSString overwrote buffer");
  // One more and the callback's own text no longer fits: it says so instead.
  const Outcome o = ValidateSchema(arrayOf(std::string(991, 'n')));
  EXPECT_FALSE(o.valid);
  EXPECT_TRUE(HasLineEndingWith(o.lines,
                                "membertype (required, type != TypeName): Caught "
                                "exception: Error buffer too small"))
      << o;
}

// TypeNameExists on its own, with buffers of every interesting size.
TEST_F(ValidatorTest, TheNameCallbackWritesWhatFitsItsBuffer) {
  CPOSDict names = CPOSDict::New();
  names.Put("Known", CPOSNumber::New(1.0));
  const struct {
    const char* value;
    int64_t size;  // -1: no buffer
    uint32_t result;
    const char* text;
  } cases[] = {
      {"Known", 8, 1, nullptr},
      {"B", 35, 0, "Cannot locate definition of type B"},
      {"B", 34, 0, ""},  // too small, and so is the text that says so
      {"Unknown1", 41, 0, "Caught exception: Error buffer too small"},
      {"B", 0, 0, nullptr},
      {"B", -1, 0, nullptr},
      {"7", 1024, 0, "Caught exception: downcast from CPOSObject to CPOSString failed"},
  };
  MOXRequireSharedBuffTable();
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.value) + " " + std::to_string(c.size));
    MOXSharedBuff buffer =
        c.size < 0 ? nullptr
                   : MOXNewSharedBuffer(static_cast<uint64_t>(c.size), nullptr, nullptr, 0, 0);
    char* text =
        buffer != nullptr ? static_cast<char*>(MOXSharedBuffProcs::GetBuffer(buffer)) : nullptr;
    if (c.size > 0) std::memset(text, 'x', static_cast<size_t>(c.size));
    if (c.size > 0) text[c.size - 1] = 0;
    CPOSObject value = std::strcmp(c.value, "7") == 0 ? CPOSObject(CPOSNumber::New(7))
                                                      : CPOSObject(CPOSString::New(c.value));
    EXPECT_EQ(NPOSValidatorImpl::TypeNameExists(value.Container(), nullptr, buffer, &names),
              c.result);
    if (c.text != nullptr) {
      EXPECT_STREQ(text, c.text);
    }
    if (buffer != nullptr) MOXSharedBuffProcs::Release(buffer);
  }
  EXPECT_EQ(TakeReports(), Lines{});
}

}  // namespace
}  // namespace moxtest
