#include "blackbox/foreign_library.h"

#include "support/live_counts.h"

namespace moxtest {

using moxhost::Runtime;

namespace {

// The lines of one Validate or ValidateSchema call; one call at a time per
// thread.
thread_local Strings* tLines = nullptr;
void CollectLine(const char* line) {
  if (tLines != nullptr) tLines->push_back(line);
}

struct LineSink {
  explicit LineSink(Strings* lines) { tLines = lines; }
  ~LineSink() { tLines = nullptr; }
};

}  // namespace

MemoryStream::MemoryStream(const POSProcs& p, const std::string& bytes) : p_(p) {
  MOXErrorRef error = p.streamFactory.NewPositionableMemoryStream(&stream_);
  EXPECT_EQ(error, nullptr);
  p.error.Release(error);
  if (stream_ == nullptr) return;
  p.container.AddRef(stream_);
  read_ = reinterpret_cast<MOXSimpleStreamReadProc>(Method("Read", "MOXSimpleStreamReadProc"));
  write_ = reinterpret_cast<MOXSimpleStreamWriteProc>(Method("Write", "MOXSimpleStreamWriteProc"));
  mark_ = reinterpret_cast<MOXPositionableStreamMarkProc>(
      Method("Mark", "MOXPositionableStreamMarkProc"));
  seek_ = reinterpret_cast<MOXPositionableStreamSeekProc>(
      Method("Seek", "MOXPositionableStreamSeekProc"));
  if (!bytes.empty()) {
    EXPECT_EQ(write_(stream_, bytes.data(), bytes.size()), nullptr);
  }
  Rewind();
}

MemoryStream::~MemoryStream() {
  if (stream_ != nullptr) p_.container.Release(stream_);
}

void* MemoryStream::Method(const char* name, const char* procType) const {
  POSProcs::Atom method{p_, p_.string.NewStringAtom(name)};
  POSProcs::Atom type{p_, p_.string.NewStringAtom(procType)};
  void* proc = nullptr;
  EXPECT_EQ(p_.container.GetMethod(&proc, stream_, method.atom, type.atom, true), nullptr);
  return proc;
}

int64_t MemoryStream::Position() const {
  int64_t position = -1;
  EXPECT_EQ(mark_(stream_, &position), nullptr);
  return position;
}

void MemoryStream::Rewind() const {
  EXPECT_EQ(seek_(stream_, 0, 0), nullptr);
}

std::string MemoryStream::Contents() const {
  Rewind();
  std::string contents;
  char block[4096];
  for (;;) {
    uint64_t count = 0;
    EXPECT_EQ(read_(stream_, &count, block, sizeof block), nullptr);
    if (count == 0) return contents;
    contents.append(block, count);
  }
}

void LoadedForeignLibrary::SetUp() {
  Runtime::Get().ClearFaults();
  Runtime::Get().ClearReports();
  loaded_ = Runtime::Get().Counts();
  std::string error;
  library_.reset(moxhost::LoadedLibrary::Open(
      moxhost::LoadedLibrary::Locate({MOX_BUILT_LIBRARY_DIR}), &error));
  ASSERT_NE(library_, nullptr) << error;
}

void LoadedForeignLibrary::TearDown() {
  Runtime::Get().ClearFaults();
  library_.reset();
  EXPECT_EQ(CountsDiff(loaded_, Runtime::Get().Counts()), "");
}

void ForeignLibrary::SetUp() {
  LoadedForeignLibrary::SetUp();
  if (library_ == nullptr) return;
  ASSERT_TRUE(library_->Start());
  ASSERT_TRUE(p.Load(Runtime::LookupProc()));
  // The method tables of POS objects and of streams, kept from first use on.
  MOXContainer warm = p.Keep(p.posDict.NewPOSDict());
  p.Put(warm, "k", p.posNumber.NewPOSNumber(0));
  {
    // Those of streams and of the streamer's and validator's own objects too.
    MemoryStream stream(p, "");
    MOXContainer streamer = p.Keep(p.posStreamer.NewPOSStreamer());
    p.posStreamer.Serialize(streamer, stream.Handle(), warm, nullptr);
    stream.Rewind();
    p.Drop(p.posStreamer.Deserialize(streamer, stream.Handle()));
    p.container.Release(streamer);
    MOXContainer validator = NewValidator("< N < category int > >");
    Validate(validator, warm, "N");
    p.container.Release(validator);
  }
  p.container.Release(warm);
  TakeReports();
  started_ = Runtime::Get().Counts();
}

void ForeignLibrary::TearDown() {
  Runtime::Get().ClearFaults();
  if (library_ == nullptr) return;
  EXPECT_EQ(CountsDiff(started_, Runtime::Get().Counts()), "");
  LoadedForeignLibrary::TearDown();
}

Strings ForeignLibrary::TakeReports() {
  Strings reports = Runtime::Get().Reports();
  Runtime::Get().ClearReports();
  return reports;
}

MOXContainer ForeignLibrary::Parse(const char* text) const {
  return p.Keep(p.posStatics.CreateFromText(text, nullptr));
}

MOXContainer ForeignLibrary::NewValidator(const char* schemaText) const {
  MOXContainer schema = Parse(schemaText);
  EXPECT_NE(schema, nullptr) << schemaText;
  MOXContainer validator = p.Keep(p.posStructValidator.NewPOSStructValidator(schema));
  if (schema != nullptr) p.container.Release(schema);
  return validator;
}

bool Validate(const POSProcs& p, MOXContainer validator, MOXContainer value, const char* type,
              Strings* lines) {
  LineSink sink(lines);
  POSProcs::Atom name{p, p.string.NewStringAtom(type)};
  return p.posValidator.Validate(validator, value, name.atom, &CollectLine);
}

bool ValidateSchema(const POSProcs& p, MOXContainer schema, Strings* lines) {
  LineSink sink(lines);
  return p.posStructValidator.ValidateSchema(schema, &CollectLine);
}

}  // namespace moxtest
