// The character streams on their own: escapes in both directions, blocks,
// read-ahead given back, and the byte readers of the version name.
#include <cstring>

#include "binding/errors.h"
#include "streamer/ichar_stream.h"
#include "streamer/ochar_stream.h"
#include "streamer/version10.h"
#include "streamer_fixture.h"

namespace moxtest {
namespace {

using namespace NPOSStreamerImpl::NTypeAImpl;
using namespace std::string_literals;

// A client stream over a string that counts its writes and remembers its
// seeks. `markBias` is added to every position it reports, to stand for a
// stream much longer than its bytes.
struct Recorder : MOXClientPositionableStream {
  uint64_t Read(void* buffer, uint64_t size) override {
    const uint64_t n = std::min<uint64_t>(size, bytes.size() - position);
    memcpy(buffer, bytes.data() + position, n);
    position += n;
    return n;
  }
  void Write(const void* buffer, uint64_t size) override {
    writes.push_back(size);
    bytes.append(static_cast<const char*>(buffer), size);
    position = bytes.size();
  }
  void Seek(int64_t to, int32_t mode) override {
    seeks.push_back(to);
    EXPECT_EQ(mode, 0);
    position = static_cast<uint64_t>(to - markBias);
  }
  int64_t Mark() override { return static_cast<int64_t>(position) + markBias; }

  std::string bytes;
  uint64_t position = 0;
  int64_t markBias = 0;
  std::vector<uint64_t> writes;
  std::vector<int64_t> seeks;
};

// A Recorder behind a runtime container; the runtime owns the object.
struct RecordedStream {
  explicit RecordedStream(const std::string& bytes = "")
      : recorder(new Recorder), stream(MOXNewClientPositionableStream(recorder)) {
    recorder->bytes = bytes;
  }
  Recorder* recorder;
  CMOXPositionableStreamRef stream;
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

TEST_F(StreamerTest, FullBlockIsWrittenOnlyWhenOneMoreByteArrives) {
  RecordedStream sink;
  {
    OCharStream out(sink.stream);
    for (int i = 0; i < 512; ++i) out.PutChar('a');
    EXPECT_TRUE(sink.recorder->writes.empty());
    out.Store('b');
    EXPECT_EQ(sink.recorder->writes, std::vector<uint64_t>{512});
  }
  EXPECT_EQ(sink.recorder->writes, (std::vector<uint64_t>{512, 1}));
  RecordedStream exact;
  {
    OCharStream out(exact.stream);
    for (int i = 0; i < 512; ++i) out.PutChar('a');
  }
  EXPECT_EQ(exact.recorder->writes, std::vector<uint64_t>{512});
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
// after it when GetChar said it closes the form. A failure ends the text
// with its message.
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
  return got;
}

TEST_F(StreamerTest, GetCharUndoesEscapesAndFindsTheClosingByte) {
  const struct {
    const StreamingParams& form;
    std::string in, out;
  } cases[] = {
      {kNumberForm, "1\\ 2\t3\n"s, "1 2 !3 !<unexpected EOF>"s},
      {kStringForm, "\\\"\\n\\101\\800\\0zz\""s, "\"\nA\0\x9a\"!<unexpected EOF>"s},
      {kOuterParams, "\0\r"s, "\0! <unexpected EOF>"s},
      {kStringForm, "\\q"s, "<Unexpected escape sequence>"s},
      {kArrayForm, "\\]\\n"s, "]<Unexpected escape sequence>"s},
      {kStringForm, "ab\\"s, "ab<unexpected EOF>"s},
      {kStringForm, "\\04"s, "<unexpected EOF>"s},
  };
  for (const auto& c : cases) EXPECT_EQ(GetAll(c.form, c.in), c.out) << c.in;
}

TEST_F(StreamerTest, ReadAheadIsGivenBackAlsoAfterAFailure) {
  RecordedStream source(std::string(600, 'a'));
  {
    ICharStream in(source.stream);
    char c;
    for (int i = 0; i < 10; ++i) in.GetChar(&c);
  }
  EXPECT_EQ(source.recorder->seeks, std::vector<int64_t>{10});
  CMOXPositionableStreamRef stream = MemoryStream("ab\\q...");
  try {
    ICharStream in(stream);
    in.params = kStringForm;
    char c;
    while (in.GetChar(&c)) {
    }
  } catch (const POSException&) {
  }
  EXPECT_EQ(stream.Mark(), 4);
  // Positions are reckoned in their low 32 bits.
  RecordedStream far(std::string(600, 'a'));
  far.recorder->markBias = (int64_t{1} << 32) + 6;
  {
    ICharStream in(far.stream);
    char c;
    in.GetChar(&c);
  }
  EXPECT_EQ(far.recorder->seeks, std::vector<int64_t>{7});
}

TEST_F(StreamerTest, GetCharsSkipsSpaceAndChecksTheCount) {
  CMOXPositionableStreamRef stream = MemoryStream("\n\t4\nF}12}");
  ICharStream in(stream);
  in.params = kBinDataForm;
  char pair[3];
  EXPECT_EQ(GetChars(in, pair, 2, true, true), 2u);
  EXPECT_EQ(std::string(pair, 2), "4F");
  EXPECT_EQ(GetChars(in, pair, 0, true, true), 0u);
  EXPECT_EQ(GetChars(in, pair, 2, false, false), 0u);
  try {
    GetChars(in, pair, 3, true, false);
    ADD_FAILURE();
  } catch (const POSException& e) {
    EXPECT_STREQ(e.what(), "GetChars ran out of input");
  }
}

}  // namespace
}  // namespace moxtest
