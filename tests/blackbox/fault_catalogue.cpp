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
};

}  // namespace moxtest
