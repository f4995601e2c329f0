// The writing character stream on its own: the escapes of each form, and
// blocks of 512 bytes. What reading undoes, escapes across two blocks
// included, is in the reader's cases.
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

}  // namespace
}  // namespace moxtest
