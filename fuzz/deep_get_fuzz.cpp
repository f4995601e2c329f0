// DeepGet with arbitrary addresses, on a fixed tree or on one written in the
// notation after the address (input: ADDRESS NUL [TREE]). The result must be
// exactly what a walk of the address through the public getters finds,
// step by step as the address language says, and DeepGet reports nothing.
#include <cstdlib>
#include <cstring>

#include "fuzz_session.h"

using namespace moxfuzz;

namespace {

const char kTree[] =
    "<a [1 <b (x) c [2 3]> [[4]]] (b]c) 5 () <d [6] () [7 <e 8>]> (x.y) 9 (z[0]) 10>";

MOXContainer Get(const Procs& p, MOXContainer dict, const std::string& key) {
  MOXStringAtom atom = p.string.NewStringAtom(key.c_str());
  MOXContainer value = p.posDict.Get(dict, atom);
  p.string.DeleteStringAtom(atom);
  return value;
}

// The address language: "." key (up to the next "." or "["), or "[" digits
// "]", the index read with strtol, cut to a signed 32-bit value and compared
// unsigned; a leading "." is added when the address lacks one.
MOXContainer Walk(const Procs& p, MOXContainer dict, std::string address) {
  if (address.empty() || address[0] != '.') address.insert(0, ".");
  MOXContainer object = dict;
  size_t at = 0;
  while (at < address.size()) {
    if (address[at] == '.') {
      if (!p.posDict.IsPOSDict(object)) return nullptr;
      const size_t end = std::min(address.find_first_of(".[", at + 1), address.size());
      object = Get(p, object, address.substr(at + 1, end - at - 1));
      at = end;
    } else if (address[at] == '[') {
      if (!p.posArray.IsPOSArray(object)) return nullptr;
      const size_t digits = std::strspn(address.c_str() + at + 1, "0123456789");
      if (digits == 0 || address[at + 1 + digits] != ']') return nullptr;
      const int64_t index =
          static_cast<int32_t>(std::strtol(address.c_str() + at + 1, nullptr, 10));
      const uint64_t slot = static_cast<uint64_t>(index);
      object = slot < p.posArray.Count(object) ? p.posArray.GetAt(object, slot) : nullptr;
      at += digits + 2;
    } else {
      return nullptr;
    }
    if (object == nullptr) return nullptr;
  }
  return object;
}

void Warm(const Procs& p) {
  Kept tree(p, Parse(p, kTree));
  MOXStringAtom address = p.string.NewStringAtom("a[1].c[0]");
  p.posDict.DeepGet(tree.get(), address);
  p.string.DeleteStringAtom(address);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Procs& p = Start("deep_get_fuzz", &Warm);
  const Strings pieces = Pieces(data, size, 2);
  const std::string input = Text(data, size);
  {
    Kept fuzzed(p, pieces.size() == 2 ? Parse(p, pieces[1]) : nullptr);
    Kept fixed(p, Parse(p, kTree));
    TakeReports();
    const MOXContainer tree = p.posDict.IsPOSDict(fuzzed.get()) ? fuzzed.get() : fixed.get();
    MOXStringAtom address = p.string.NewStringAtom(pieces[0].c_str());
    const MOXContainer found = p.posDict.DeepGet(tree, address);
    p.string.DeleteStringAtom(address);
    if (!TakeReports().empty()) Fail("DeepGet reported", input);
    if (found != Walk(p, tree, pieces[0])) Fail("DeepGet found another object", input);
  }
  TakeReports();
  CheckCounts(input);
  return 0;
}
