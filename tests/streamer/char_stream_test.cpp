// The character streams on their own: escapes in both directions, blocks,
// and the read-ahead given back after a failure.
#include "binding/errors.h"
#include "streamer/ichar_stream.h"
#include "streamer/ochar_stream.h"
#include "streamer/version10.h"
#include "streamer_fixture.h"

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

// Writes `prefix` plain bytes and then `bytes` under `form`, and reads it all
// back under the same form.
std::string AcrossBlocks(size_t prefix, const std::string& bytes, std::string* written) {
  CMOXPositionableStreamRef stream = MemoryStream();
  {
    OCharStream out(stream);
    for (size_t i = 0; i < prefix; ++i) out.PutChar('a');
    for (char c : bytes) out.PutChar(c);
  }
  *written = Contents(stream);
  stream.Seek(0, 0);
  ICharStream in(stream);
  std::string read;
  char c;
  while (read.size() < prefix + bytes.size() && in.GetChar(&c)) read += c;
  return read.substr(prefix);
}

TEST_F(StreamerTest, EscapesStraddlingTwoBlocksReadBack) {
  std::string written;
  EXPECT_EQ(AcrossBlocks(510, "\x01x", &written), "\x01x");
  EXPECT_EQ(written.substr(510, 4), "\\001");
  EXPECT_EQ(AcrossBlocks(511, "\\y", &written), "\\y");
  EXPECT_EQ(written.substr(511, 2), "\\\\");
}

// What GetChar gives for each byte of `bytes` under `form`: the byte, and '!'
// after it when GetChar said it closes the form. The failure that ends it
// follows, and where the stream stands once the read-ahead is given back.
std::string GetAll(const StreamingParams& form, const std::string& bytes) {
  CMOXPositionableStreamRef stream = MemoryStream(bytes);
  std::string got;
  try {
    ICharStream in(stream);
    in.params = form;
    for (;;) {
      char c;
      const bool open = in.GetChar(&c);
      got += c;
      if (!open) got += '!';
    }
  } catch (const std::exception& e) {
    got += std::string("<") + e.what() + ">";
  }
  return got + "@" + std::to_string(stream.Mark());
}

TEST_F(StreamerTest, GetCharUndoesEscapesAndFindsTheClosingByte) {
  const struct {
    const StreamingParams& form;
    std::string in, out;
  } cases[] = {
      {kNumberForm, "1\\ 2\t3\n"s, "1 2 !3 !<unexpected EOF>@7"s},
      {kStringForm, "\\\"\\n\\101\\800\\0zz\""s, "\"\nA\0\x9a\"!<unexpected EOF>@17"s},
      {kOuterParams, "\0\r"s, "\0! <unexpected EOF>@2"s},
      {kStringForm, "ab\\q..."s, "ab<Unexpected escape sequence>@4"s},
      {kArrayForm, "\\]\\n"s, "]<Unexpected escape sequence>@4"s},
      {kStringForm, "ab\\"s, "ab<unexpected EOF>@3"s},
      {kStringForm, "\\04"s, "<unexpected EOF>@3"s},
  };
  for (const auto& c : cases) EXPECT_EQ(GetAll(c.form, c.in), c.out) << c.in;
}

}  // namespace
}  // namespace moxtest
