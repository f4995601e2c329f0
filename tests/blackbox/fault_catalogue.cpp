// The scenarios of the fault loops, one function each, as a foreign
// component writes them: everything through the registered interfaces, every
// object it is handed kept until the run ends, every error it is given noted.
#include <cstdio>
#include <cstring>
#include <exception>

#include "blackbox/fault_loop.h"

namespace moxtest {

const char kFaultTree[] =
    "<name (a tree) list [1 2.5 `00480049` <x [y]>] empty <> nested <a <b <c [3]>>>>";

const char kFaultSchema[] =
    "< Doc   < category dict required < list List point Point > optional < name Name > >"
    "  List  < category array membertype Small >"
    "  Small < category int min 0 max 9 >"
    "  Point < category dict required < x Small y Small > >"
    "  Name  < category string minlen 1 > >";

namespace {

std::string Lines(bool valid, const Strings& lines) {
  std::string text = valid ? "valid" : "invalid";
  for (const std::string& line : lines) text += "\n" + line;
  return text;
}

// Seek and Read of a runtime stream, fetched from its container.
MOXErrorRef StreamMethod(const POSProcs& p, MOXContainer stream, const char* name, const char* type,
                         void** proc) {
  POSProcs::Atom method{p, p.string.NewStringAtom(name)};
  POSProcs::Atom procType{p, p.string.NewStringAtom(type)};
  return p.container.GetMethod(proc, stream, method.atom, procType.atom, true);
}

// The bytes of `stream` from its start; failures are the run's.
std::string ReadAll(FaultRun& r, MOXContainer stream) {
  void* seek = nullptr;
  void* read = nullptr;
  if (r.Failed(StreamMethod(r.p, stream, "Seek", "MOXPositionableStreamSeekProc", &seek)) ||
      r.Failed(StreamMethod(r.p, stream, "Read", "MOXSimpleStreamReadProc", &read)) ||
      r.Failed(reinterpret_cast<MOXPositionableStreamSeekProc>(seek)(stream, 0, 0))) {
    return "";
  }
  std::string bytes;
  char block[512];
  for (uint64_t count = 1; count != 0;) {
    if (r.Failed(
            reinterpret_cast<MOXSimpleStreamReadProc>(read)(stream, &count, block, sizeof block))) {
      break;
    }
    bytes.append(block, count);
  }
  return bytes;
}

void BuildAndEditTrees(FaultRun& r) {
  const POSProcs& p = r.p;
  const uint16_t units[] = {0x48, 0x49, 0};
  MOXContainer root = r.Own(p.posDict.NewPOSDict());
  MOXContainer list = r.Own(p.posArray.NewPOSArray());
  p.posArray.Append(list, r.Own(p.posNumber.NewPOSNumber(1)));
  p.posArray.Append(list, r.Own(p.posString.NewPOSString("two")));
  p.posArray.SetAt(list, 3, r.Own(p.posUnicodeString.NewPOSUnicodeString(units)));
  p.posArray.SetAt(list, 2, r.Own(p.posNumber.NewPOSNumber(3)));
  p.posArray.Remove(list, 0);
  p.Put(root, "list", list);
  p.Put(root, "bin", r.Own(p.posBinData.NewPOSBinData("type", "bytes", 5)));
  p.Put(root, "ptr", r.Own(RawPointerProbe::New(p)));
  p.Put(root, "gone", r.Own(p.posNumber.NewPOSNumber(0)));
  p.Remove(root, "gone");
  MOXContainer keys = r.Own(p.posDictIterator.NewPOSDictIterator(root));
  if (keys != nullptr) {
    for (; !p.posDictIterator.IsDone(keys); p.posDictIterator.Next(keys)) {
      r.text += std::string(p.posDictIterator.CurKey(keys)) + " ";
    }
  }
  r.object = root;
}

void CloneAndCompare(FaultRun& r) {
  const POSProcs& p = r.p;
  r.object = r.Own(p.posObject.Clone(r.in.tree));
  if (r.object == nullptr) return;
  r.text = std::to_string(p.posObject.IsEqual(r.in.tree, r.object)) +
           std::to_string(p.posObject.IsEqual(r.object, r.in.tree));
}

void ParseNotation(FaultRun& r) {
  const POSProcs& p = r.p;
  const char* position = nullptr;
  r.object = r.Own(p.posStatics.CreateFromText(kFaultTree, &position));
  const char bad[] = "<a [1 2> b>";
  r.Own(p.posStatics.CreateFromText(bad, &position));
  r.text = position != nullptr ? "error at " + std::to_string(position - bad) : "no error";
}

void DeepGetAddresses(FaultRun& r) {
  for (const char* address : {"name", "list[2]", "list[3].x[0]", "nested.a.b.c[0]", "missing",
                              "list[9]", "list[1]x", "[0]"}) {
    char found[32];
    std::snprintf(found, sizeof found, "%p ", static_cast<void*>(r.p.DeepGet(r.in.tree, address)));
    r.text += found;
  }
}

void SerializeAndRead(FaultRun& r) {
  const POSProcs& p = r.p;
  MOXContainer streamer = r.Own(p.posStreamer.NewPOSStreamer());
  MOXContainer stream = nullptr;
  if (r.Failed(p.streamFactory.NewPositionableMemoryStream(&stream))) return;
  r.Own(stream);
  r.text =
      p.posStreamer.Serialize(streamer, stream, r.in.tree, nullptr) ? "written\n" : "refused\n";
  r.text += ReadAll(r, stream);
  void* seek = nullptr;
  if (r.Failed(StreamMethod(p, stream, "Seek", "MOXPositionableStreamSeekProc", &seek)) ||
      r.Failed(reinterpret_cast<MOXPositionableStreamSeekProc>(seek)(stream, 0, 0))) {
    return;
  }
  r.object = r.Own(p.posStreamer.Deserialize(streamer, stream));
}

void ValidateValidValue(FaultRun& r) {
  Strings lines;
  const bool valid = Validate(r.p, r.in.validator, r.in.goodValue, "Doc", &lines);
  r.text = Lines(valid, lines);
}

void ValidateInvalidValue(FaultRun& r) {
  Strings lines;
  const bool valid = Validate(r.p, r.in.validator, r.in.badValue, "Doc", &lines);
  r.text = Lines(valid, lines);
}

// ValidateSchema has no guard: its failures reach the caller as exceptions.
void CheckSchema(FaultRun& r, MOXContainer schema) {
  if (schema == nullptr) return;
  try {
    Strings lines;
    const bool valid = ValidateSchema(r.p, schema, &lines);
    r.text = Lines(valid, lines);
  } catch (const std::exception& e) {
    r.Failed(std::string("exception: ") + e.what());
  } catch (...) {
    r.Failed("an unknown exception");
  }
}

void CheckValidSchema(FaultRun& r) {
  CheckSchema(r, r.in.schema);
}

void CheckInvalidSchema(FaultRun& r) {
  CheckSchema(r, r.Own(r.p.posStatics.CreateFromText(
                     "< Age < category int bogus 1 > Ages < category arr > >", nullptr)));
}

// A client check of "Name" that refuses every name.
uint32_t RefuseName(MOXContainer, MOXStringAtom, MOXSharedBuff text, void* procs) {
  const POSProcs& p = *static_cast<const POSProcs*>(procs);
  char* buffer = static_cast<char*>(p.sharedBuffer.GetBuffer(text));
  if (buffer != nullptr) std::snprintf(buffer, p.sharedBuffer.GetSize(text), "no names here");
  return 0;
}

void ValidateWithCallbacks(FaultRun& r) {
  const POSProcs& p = r.p;
  MOXContainer validator = r.Own(p.posStructValidator.NewPOSStructValidator(r.in.schema));
  {
    POSProcs::Atom name{p, p.string.NewStringAtom("Name")};
    p.posStructValidator.RegisterCallbackProc(validator, name.atom, &RefuseName,
                                              const_cast<POSProcs*>(&p));
  }
  Strings lines;
  const bool valid = Validate(p, validator, r.in.goodValue, "Doc", &lines);
  r.text = Lines(valid, lines);
}

// Directory objects made every way; a unique file made, found, renamed and
// deleted in the temporary directory. Each out-parameter holds a result
// exactly when no error came back.
void DirectoryOperations(FaultRun& r) {
  const POSProcs& p = r.p;
  MOXContainer current = nullptr;
  bool failed = r.Failed(p.utilsDir.GetCurrent(&current));
  EXPECT_EQ(failed, current == nullptr);
  r.Own(current);
  MOXContainer named = nullptr;
  {
    const POSProcs::Atom path{p, p.string.NewStringAtom("/a")};
    failed = r.Failed(p.utilsDir.NewMOXUtilsDir(&named, path.atom));
    EXPECT_EQ(failed, named == nullptr);
    r.Own(named);
  }
  MOXContainer dir = nullptr;
  failed = r.Failed(p.utilsDir.GetTempDir(&dir));
  EXPECT_EQ(failed, dir == nullptr);
  if (failed) return;
  r.Own(dir);
  const POSProcs::Atom stem{p, p.string.NewStringAtom("st")};
  const POSProcs::Atom second{p, p.string.NewStringAtom("x")};
  const POSProcs::Atom renamed{p, p.string.NewStringAtom("renamed")};
  // The file is there once made, also when its name can't be handed back.
  r.mayLeaveFiles = true;
  MOXStringAtom made = nullptr;
  if (r.Failed(p.utilsDir.CreateUniqueFilename(&made, dir, stem.atom, second.atom))) {
    EXPECT_EQ(made, nullptr);
    return;
  }
  const POSProcs::Atom unique{p, made};
  MOXStringAtom path = nullptr;
  if (!r.Failed(p.utilsDir.GetFilePathSpec(&path, dir, unique.atom))) {
    const POSProcs::Atom joined{p, path};
    r.text += std::string(p.string.GetCString(path)).find("/st.") != std::string::npos
                  ? "path "
                  : "a wrong path ";
  } else {
    EXPECT_EQ(path, nullptr);
  }
  uint8_t exists = 2;
  if (!r.Failed(p.utilsDir.FileExists(&exists, dir, unique.atom))) {
    r.text += "exists " + std::to_string(exists) + " ";
  } else {
    EXPECT_EQ(exists, 0);
  }
  if (!r.Failed(p.utilsDir.Rename(dir, unique.atom, renamed.atom))) r.text += "renamed ";
  if (!r.Failed(p.utilsDir.Delete(dir, renamed.atom))) {
    r.text += "deleted";
    r.mayLeaveFiles = false;
  }
}

// A temporary stream written, then copied twice; each copy reads what was
// written from a position of its own, and the stream itself reads it too.
void TempStreamsAndCopies(FaultRun& r) {
  const POSProcs& p = r.p;
  MOXContainer stream = nullptr;
  const bool failed =
      r.Failed(p.tempFileStreamFactory.NewTempFileStream(&stream, "ts", "x", "w+b"));
  EXPECT_EQ(failed, stream == nullptr);
  if (failed) {
    r.mayLeaveFiles = true;
    return;
  }
  r.Own(stream);
  void* write = nullptr;
  void* mark = nullptr;
  void* copy = nullptr;
  if (r.Failed(StreamMethod(p, stream, "Write", "MOXSimpleStreamWriteProc", &write)) ||
      r.Failed(StreamMethod(p, stream, "Mark", "MOXPositionableStreamMarkProc", &mark)) ||
      r.Failed(StreamMethod(p, stream, "CreateIndependentlyPositionableStream",
                            "MOXPositionableStreamCreateIndependentlyPositionableStreamProc",
                            &copy)) ||
      r.Failed(reinterpret_cast<MOXSimpleStreamWriteProc>(write)(stream, "payload", 7))) {
    return;
  }
  int64_t position = -1;
  if (!r.Failed(reinterpret_cast<MOXPositionableStreamMarkProc>(mark)(stream, &position))) {
    r.text += "at " + std::to_string(position) + "\n";
  }
  for (int i = 0; i < 2; ++i) {
    MOXContainer made = nullptr;
    if (r.Failed(reinterpret_cast<MOXPositionableStreamCreateIndependentlyPositionableStreamProc>(
            copy)(stream, &made))) {
      EXPECT_EQ(made, nullptr);
      continue;
    }
    EXPECT_NE(made, nullptr) << "a copy, or an error";
    r.text += "copy " + ReadAll(r, r.Own(made)) + "\n";
  }
  r.text += "first " + ReadAll(r, stream);
}

}  // namespace

const std::vector<FaultScenario> kFaultCatalogue = {
    {"BuildAndEditTrees", &BuildAndEditTrees, false, nullptr},
    {"CloneAndCompare", &CloneAndCompare, false, nullptr},
    {"ParseNotation", &ParseNotation, false, nullptr},
    {"DeepGetAddresses", &DeepGetAddresses, true, nullptr},
    {"SerializeAndRead", &SerializeAndRead, false, nullptr},
    {"ValidateValidValue", &ValidateValidValue, false, nullptr},
    {"ValidateInvalidValue", &ValidateInvalidValue, false, nullptr},
    {"ValidateSchemaOfAValidSchema", &CheckValidSchema, false, nullptr},
    {"ValidateSchemaOfAnInvalidSchema", &CheckInvalidSchema, false, nullptr},
    {"ValidateWithCallbacks", &ValidateWithCallbacks, false, nullptr},
    {"DirectoryOperations", &DirectoryOperations, false,
     "the unique file (whose descriptor CreateUniqueFilename leaves open) when its creation "
     "or a later step fails: it stays, under its own name or the new one"},
    {"TempStreamsAndCopies", &TempStreamsAndCopies, false,
     "the unique file of a NewTempFileStream that fails once it is made, with its descriptor"},
};

}  // namespace moxtest
