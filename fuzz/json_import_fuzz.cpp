// posctl's JSON import on arbitrary text, with no bound on nesting: the
// library is loaded and driven as posctl drives it. The text is refused
// with a message or becomes a tree; a tree that the notation can hold is
// written as notation by posctl and must read back, through CreateFromText,
// to an equal tree.
#include <cstdint>
#include <limits>
#include <memory>

#include "diagnostics.h"
#include "fuzz_session.h"
#include "json_to_pos.h"
#include "library_session.h"
#include "notation_writer.h"

using namespace moxfuzz;

namespace {

// Fails unless `json` is refused or comes back equal through the notation.
void RoundTrip(posctl::LibrarySession& session, const std::string& json) {
  const Procs& p = session.procs();
  posctl::JsonInOptions options;
  options.maxDepth = std::numeric_limits<size_t>::max();
  options.nullAs = "null";
  options.warnChangedIntegers = false;
  posctl::Ref tree;
  try {
    tree = posctl::ReadJson(session, posctl::InputSource::FromText("fuzz.json", json), options);
  } catch (const posctl::ToolError&) {
    return;  // not JSON, or nothing POS can hold
  }
  std::string notation;
  try {
    posctl::WriteNotation(
        p, tree.get(), [&](std::string_view piece) { notation += piece; }, "fuzz.json");
  } catch (const posctl::ToolError&) {
    return;  // binary data, or a string too long for the notation
  }
  Kept back(p, p.posStatics.CreateFromText(notation.c_str(), nullptr));
  if (back.get() == nullptr) {
    // Only a tree deeper than the stack may be refused.
    if (TakeReports() != Strings{"nesting too deep for the stack"}) {
      Fail("the notation written does not read back", json);
    }
    return;
  }
  if (!p.posObject.IsEqual(tree.get(), back.get()) ||
      !p.posObject.IsEqual(back.get(), tree.get())) {
    Fail("the notation written reads back unequal", json);
  }
}

posctl::LibrarySession& Session() {
  // Made in the initialiser, so that it is destroyed at exit (stopping the
  // library) before the library's own exit handler, registered by the start,
  // runs.
  static const std::unique_ptr<posctl::LibrarySession> session = [] {
    auto started = std::make_unique<posctl::LibrarySession>();
    // Every class once: the method tables live until the stop.
    RoundTrip(*started, R"({"a": [1, "b", "\u20ac", true, null, {}], "c": 2.5})");
    TakeBaseline("json_import_fuzz");
    return started;
  }();
  return *session;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  posctl::LibrarySession& session = Session();
  const std::string json = Text(data, size);
  RoundTrip(session, json);
  TakeReports();
  CheckCounts(json);
  return 0;
}
