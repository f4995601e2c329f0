// Reading: what each input gives, or the words of its refusal, and where the
// stream stands afterwards.
#include "binding/errors.h"
#include "streamer/version10.h"
#include "streamer_fixture.h"

namespace moxtest {
namespace {

using namespace std::string_literals;

struct ReadCase {
  std::string in;        // after the header, unless `raw`
  std::string expected;  // the object written again, or the report
  long consumed;         // bytes of `in` read; -1 for all of them
  bool raw = false;
};

class ReaderTest : public StreamerTest {
 protected:
  void Check(const ReadCase& c) {
    const std::string bytes = (c.raw ? "" : kHeader) + c.in;
    CMOXPositionableStreamRef stream = MemoryStream(bytes);
    CPOSObject object = Deserialize(stream);
    const std::string got = object.IsEmpty() ? Reports() : Write(object).substr(kHeader.size());
    EXPECT_EQ(got, c.expected) << c.in;
    const long consumed = c.consumed < 0 ? c.in.size() : c.consumed;
    EXPECT_EQ(stream.Mark(), static_cast<int64_t>(bytes.size() - c.in.size() + consumed)) << c.in;
  }
};

TEST_F(ReaderTest, EachInputGivesItsObjectOrItsRefusal) {
  const std::string s32(32, 's'), s64(64, 's');
  const ReadCase cases[] = {
      // Numbers
      {"# ", "malformed number", -1},
      {"#" + std::string(61, '0') + "5 ", "#5 ", -1},
      {"#" + std::string(63, '0') + " ", "malformed number", 64},
      {"#12", "unexpected EOF", -1},
      {"#1-2 tail", "#1 ", 5},
      {"#+-1 ", "#0 ", -1},
      {"#-0\t", "#-0 ", -1},
      {"#2.5E1\n", "#25 ", -1},
      {"#1,5 ", "malformed number", -1},
      {"#inf ", "malformed number", -1},
      {"#nan ", "malformed number", -1},
      {"#1\\  ", "malformed number", -1},
      {"[#1] ", "malformed number", -1},
      {"[#1]", "unexpected EOF", -1},
      {"\\0431 ", "#1 ", -1},
      // Strings and Unicode strings
      {"\"" + s32 + "\"", "\"" + s32 + "\"", -1},
      {"\"" + s64 + "\"", "\"" + s64 + "\"", -1},
      {"\"ab\\000cd\"", "\"ab\"", -1},
      {"\"a\nb\tc\"", "\"a b c\"", -1},
      {"\"\\\"\\n\\r\\t\\\\\"", "\"\\\"\\n\\r\\t\\\\\"", -1},
      // Three octal digits, only the first one checked: \8 is 8, z is 'z' - '0'.
      {"\"\\0zzA\\800b\"", "\"\\232A\"", -1},
      {"\"ab\\", "unexpected EOF", -1},
      {"\"\\04", "unexpected EOF", -1},
      // An octal escape and an escaped backslash across the first two blocks,
      // which start behind the version name.
      {"\"" + std::string(509, 'a') + "\\001x\"", "\"" + std::string(509, 'a') + "\\001x\"", -1},
      {"\"" + std::string(510, 'a') + "\\\\y\"", "\"" + std::string(510, 'a') + "\\\\y\"", -1},
      {"\"a\\qb\"", "Unexpected escape sequence", 4},
      {"\"a\\}\"", "Unexpected escape sequence", 4},
      {"[\\n]", "Unexpected escape sequence", 3},
      {"`00E9abCD`", "`00e9ABcd`", -1},
      {"`0041zzzz`", "`00410041`", -1},
      {"`00e9A`", "malformed Unicode string", -1},
      {"``", "``", -1},
      // Binary data
      {"{\"t\" #2.5 01 \n\t0 2 }", "{\"t\" #2  \n\t0102\n}", -1},
      {"{\"\" #0 }", "{\"\" #0  \n}", -1},
      {"{\"t\" #3  0102}", "GetChars ran out of input", -1},
      {"{\"t\" #1 0102}", "Unexpected chars after binary data", 11},
      {"{\"t\" #-1 }", "std::bad_alloc", 9},
      {"{#1 #1 01}", "downcast from CPOSObject to CPOSString failed", 4},
      {"{\"t\" \"x\" }", "downcast from CPOSObject to CPOSNumber failed", 8},
      // Containers and raw pointers
      {"<\"b\" #2 \"a\" #1 \"b\" #3 >", "<\n\t\"a\" #1 \n\t\"b\" #3 \n>", -1},
      {"<\"a\\\"\\nb\" []>", "<\n\t\"a\\\"\\nb\" [\n\t]\n>", -1},
      {"<#1 #2 >", "downcast from CPOSObject to CPOSString failed", 4},
      {"<\"k\" >", "missing dictionary value", -1},
      {"[[]\r[] ]", "[\n\t[\n\t]\n\t[\n\t]\n]", -1},
      {"[\0]"s, "Cannot determine streaming params", 2},
      {"[}", "Cannot determine streaming params", -1},
      {"[\\]]", "Cannot determine streaming params", 3},
      {"\0"s, "POSObjectStreamerImpl::Deserialize failure", -1},
      {"$0x1 ", "Cannot meaningfully read in a raw pointer (write is for debugging only)", 1},
      // Version names
      {"", "getNextChar unexpected EOF", -1, true},
      {"  " + kHeader + "#1 ", "#1 ", -1, true},
      {"\n" + kHeader + "#1 ", "StreamerBase::LookupStreamer unrecognized version", 29, true},
      {std::string(70, 'x'), "StreamerBase::LookupStreamer unrecognized version", 64, true},
      {"POSStreamerTypeA_Version2.0 #1 ", "StreamerBase::LookupStreamer unrecognized version", 28,
       true},
  };
  for (const ReadCase& c : cases) Check(c);
}

TEST_F(StreamerTest, ObjectsFollowingEachOtherAreReadOneByOne) {
  CMOXPositionableStreamRef stream = MemoryStream();
  const CPOSObject objects[] = {CPOSNumber::New(12), CPOSString::New("x"), CPOSArray::New()};
  std::vector<int64_t> ends;
  for (const CPOSObject& object : objects) {
    ASSERT_TRUE(Serialize(stream, object));
    ends.push_back(stream.Mark());
  }
  stream.Write("rest", 4);
  stream.Seek(0, 0);
  for (size_t i = 0; i < 3; ++i) {
    CPOSObject back = Deserialize(stream);
    ASSERT_FALSE(back.IsEmpty()) << Reports();
    EXPECT_TRUE(back.IsEqual(objects[i]));
    EXPECT_EQ(stream.Mark(), ends[i]);
  }
}

TEST_F(StreamerTest, SerializeNamesItsVersion) {
  CMOXPositionableStreamRef stream = MemoryStream();
  EXPECT_FALSE(Serialize(stream, CPOSNumber::New(1), "POSStreamerTypeA_Version0.9"));
  EXPECT_EQ(Reports(), "StreamerBase::LookupStreamer unrecognized version");
  EXPECT_EQ(Contents(stream), "");
  EXPECT_TRUE(Serialize(stream, CPOSNumber::New(1), "POSStreamerTypeA_Version1.0"));
  EXPECT_EQ(Contents(stream), kHeader + "#1 ");
  EXPECT_FALSE(Serialize(stream, CPOSObject(), nullptr));
  EXPECT_EQ(Reports(), "invalid container");
}

TEST_F(StreamerTest, AFailedNestedReadPutsEveryFormBack) {
  using namespace NPOSStreamerImpl::NTypeAImpl;
  CMOXPositionableStreamRef stream = MemoryStream("[<\"k\" [#x ");
  Version10 version;
  ICharStream in(stream);
  EXPECT_THROW(version.ReadObject(in), POSException);
  EXPECT_EQ(in.params.escapes, kOuterEscapes);
  EXPECT_EQ(in.params.closeChar, 0);
}

}  // namespace
}  // namespace moxtest
