// Writing: the escapes of each form, blocks of 512 bytes, the bytes of each
// form; and round trips: random trees through memory and file streams, and
// numbers to the last bit. What reading undoes, escapes across two blocks
// included, is in the reader's cases.
#include <unistd.h>

#include <cmath>
#include <cstring>

#include "streamer/ochar_stream.h"
#include "streamer/version10.h"
#include "streamer_fixture.h"
#include "tree_maker.h"

namespace moxtest {
namespace {

using namespace NPOSStreamerImpl::NTypeAImpl;
using namespace std::string_literals;

// A client stream that only counts the sizes of its writes.
struct WriteRecorder : MOXClientPositionableStream {
  uint64_t Read(void*, uint64_t) override { return 0; }
  void Write(const void*, uint64_t size) override { writes.push_back(size); }
  void Seek(int64_t, int32_t) override {}
  int64_t Mark() override { return 0; }
  std::vector<uint64_t> writes;
};

std::string PutAll(const StreamingParams& form, const std::string& bytes) {
  CMOXPositionableStreamRef stream = MemoryStream();
  {
    OCharStream out(stream);
    out.params = form;
    for (char c : bytes) out.PutChar(c);
  }
  return Contents(stream);
}

TEST_F(StreamerTest, PutCharEscapesByForm) {
  const struct {
    const StreamingParams& form;
    std::string in, out;
  } cases[] = {
      {kOuterParams, "\\ \t\n\r\"]", "\\\\ \t\n\r\"]"},
      {kOuterParams, "\x01\x7F\xFF\0"s, "\\001\\177\\377\\000"},
      {kStringForm, "\"\n\r\t`", "\\\"\\n\\r\\t`"},
      {kNumberForm, "1 2\t", "1\\ 2\t"},
      {kUnicodeStringForm, "`\"", "\\`\""},
      {kBinDataForm, "}]", "\\}]"},
      {kArrayForm, "]>", "\\]>"},
      {kDictForm, "]>", "]\\>"},
  };
  for (const auto& c : cases) EXPECT_EQ(PutAll(c.form, c.in), c.out) << c.in;
}

TEST_F(StreamerTest, AFullBlockIsWrittenOnlyWhenOneMoreByteArrives) {
  for (const bool oneMore : {false, true}) {
    WriteRecorder* recorder = new WriteRecorder;  // the runtime owns it
    CMOXPositionableStreamRef stream(MOXNewClientPositionableStream(recorder));
    {
      OCharStream out(stream);
      for (int i = 0; i < 512; ++i) out.PutChar('a');
      EXPECT_TRUE(recorder->writes.empty());
      if (oneMore) out.PutChar('b');
    }
    const std::vector<uint64_t> expected =
        oneMore ? std::vector<uint64_t>{512, 1} : std::vector<uint64_t>{512};
    EXPECT_EQ(recorder->writes, expected);
  }
}

// The bytes that each form writes; the worked example as a whole is in the
// black-box tests.
TEST_F(StreamerTest, ScalarForms) {
  const uint16_t units[] = {0x0041, 0xFFFF, 0x0100, 0};
  const std::string bytes(41, '\x5A');
  std::string line;
  for (int i = 0; i < 40; ++i) line += "5A";
  const struct {
    CPOSObject object;
    std::string text;
  } cases[] = {
      {CPOSNumber::New(3), "#3 "},
      {CPOSNumber::New(-0.0), "#-0 "},
      {CPOSNumber::New(0.1), "#0.10000000000000000555111512312578 "},
      {CPOSNumber::New(1e300), "#1.0000000000000000525047602552044e+300 "},
      {CPOSNumber::New(INFINITY), "#inf "},
      {CPOSNumber::New(-INFINITY), "#-inf "},  // written, but refused on reading
      {CPOSNumber::New(NAN), "#nan "},
      {CPOSString::New(""), "\"\""},
      {CPOSString::New("\t\r\\`\x7F\xC3\xA9"), "\"\\t\\r\\\\`\\177\\303\\251\""},
      {CPOSUnicodeString::New(units), "`0041FFff0100`"},
      {CPOSBinData::New("", nullptr, 0), "{\"\" #0  \n}"},
      {CPOSBinData::New("t\"}", bytes.data(), bytes.size()),
       "{\"t\\\"}\" #41  \n\t" + line + "\n\t5A\n}"},
      {CPOSRawPointer::New(nullptr, nullptr), "$(nil) "},
      {CPOSArray::New(), "[\n]"},
      {CPOSDict::New(), "<\n>"},
  };
  for (const auto& c : cases) EXPECT_EQ(Write(c.object), kHeader + c.text);
}

// Each tree comes back equal both ways and writes again to the same bytes;
// every tenth goes through a file as well.
TEST_F(StreamerTest, RandomTreesRoundTripThroughMemoryAndFileStreams) {
  char path[] = "/tmp/streamer_round_trip_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    CPOSObject tree = TreeMaker(seed).Make(seed % 10 == 0 ? 5 : 4);
    const std::string bytes = Write(tree);
    CPOSObject back = Read(bytes);
    ASSERT_FALSE(back.IsEmpty()) << Reports();
    EXPECT_TRUE(back.IsEqual(tree) && tree.IsEqual(back)) << "seed " << seed;
    EXPECT_EQ(Write(back), bytes) << "seed " << seed;
    if (seed % 10 != 0) continue;
    {
      CMOXPositionableStreamRef out(MOXNewPositionableFileStream(path, "wb"));
      ASSERT_TRUE(Serialize(out, tree)) << Reports();
    }
    CMOXPositionableStreamRef in(MOXNewPositionableFileStream(path, "rb"));
    back = Deserialize(in);
    ASSERT_FALSE(back.IsEmpty()) << Reports();
    EXPECT_TRUE(back.IsEqual(tree) && tree.IsEqual(back)) << "seed " << seed;
  }
  unlink(path);
  EXPECT_EQ(Reports(), "");
}

// Random numbers go through in the trees above; these are the edges: signed
// zeros, the smallest subnormal, the extremes, and 2^53 + 1.
TEST_F(StreamerTest, FiniteNumbersRoundTripToTheBit) {
  for (double value : {-0.0, 0.0, 5e-324, -2.2250738585072014e-308, 1.7976931348623157e308, 0.1,
                       1.0 / 3, 9007199254740993.0}) {
    const double back = CPOSNumber(Read(Write(CPOSNumber::New(value)))).Get();
    EXPECT_EQ(memcmp(&back, &value, sizeof value), 0) << value;
  }
}

}  // namespace
}  // namespace moxtest
