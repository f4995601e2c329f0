// Validate with a schema and a value from arbitrary notation (input: SCHEMA
// NUL VALUE NUL TYPE; the type defaults to "T"). Whatever they are, the walk
// ends: valid with no line and no report, or invalid with lines or a
// report (or neither, for a union without a set, as the schema language
// says); the same truth with and without an error procedure; and every
// object given back.
#include "fuzz_session.h"

using namespace moxfuzz;

namespace {

thread_local Strings* tLines = nullptr;
void CollectLine(const char* line) {
  tLines->push_back(line);
}

// Validate of `type`, the lines going to `lines` (or no procedure at all).
bool Validate(const Procs& p, MOXContainer validator, MOXContainer value, const std::string& type,
              Strings* lines) {
  tLines = lines;
  MOXStringAtom name = p.string.NewStringAtom(type.c_str());
  const bool valid =
      p.posValidator.Validate(validator, value, name, lines != nullptr ? &CollectLine : nullptr);
  p.string.DeleteStringAtom(name);
  tLines = nullptr;
  return valid;
}

MOXContainer DeepGet(const Procs& p, MOXContainer dict, const std::string& address) {
  MOXStringAtom atom = p.string.NewStringAtom(address.c_str());
  MOXContainer found = p.posDict.DeepGet(dict, atom);
  p.string.DeleteStringAtom(atom);
  return found;
}

// A union with an empty or absent "set" fails with no line, on purpose: the
// one way to be invalid without a word.
bool HasUnionWithoutSet(const Procs& p, MOXContainer schema) {
  if (!p.posDict.IsPOSDict(schema)) return false;
  bool found = false;
  Kept keys(p, p.posDictIterator.NewPOSDictIterator(schema));
  for (; !found && !p.posDictIterator.IsDone(keys.get()); p.posDictIterator.Next(keys.get())) {
    const std::string type = std::string(".") + p.posDictIterator.CurKey(keys.get());
    MOXContainer category = DeepGet(p, schema, type + ".category");
    MOXContainer set = DeepGet(p, schema, type + ".set");
    found = p.posString.IsPOSString(category) &&
            std::string(p.posString.Get(category)) == "union" &&
            (!p.posArray.IsPOSArray(set) || p.posArray.Count(set) == 0);
  }
  TakeReports();
  return found;
}

void Warm(const Procs& p) {
  Kept schema(p, Parse(p, "< T < category dict valuetype N > N < category int max 1 > >"));
  Kept value(p, Parse(p, "< a 1 b 2 >"));
  Kept validator(p, p.posStructValidator.NewPOSStructValidator(schema.get()));
  Strings lines;
  Validate(p, validator.get(), value.get(), "T", &lines);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Procs& p = Start("validate_fuzz", &Warm);
  const Strings pieces = Pieces(data, size, 3);
  const std::string input = Text(data, size);
  const std::string type = pieces.size() == 3 ? pieces[2] : "T";
  {
    Kept schema(p, Parse(p, pieces[0]));
    Kept value(p, pieces.size() >= 2 ? Parse(p, pieces[1]) : nullptr);
    if (schema.get() != nullptr && value.get() != nullptr) {
      Kept validator(p, p.posStructValidator.NewPOSStructValidator(schema.get()));
      TakeReports();
      Strings lines;
      const bool valid = Validate(p, validator.get(), value.get(), type, &lines);
      const Strings reports = TakeReports();
      if (valid && !(lines.empty() && reports.empty())) Fail("valid, and yet lines", input);
      if (!valid && lines.empty() && reports.empty() && !HasUnionWithoutSet(p, schema.get())) {
        Fail("invalid without a word", input);
      }
      if (Validate(p, validator.get(), value.get(), type, nullptr) != valid) {
        Fail("another truth without an error procedure", input);
      }
    }
  }
  TakeReports();
  CheckCounts(input);
  return 0;
}
