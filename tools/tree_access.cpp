#include "tree_access.h"

#include "diagnostics.h"

namespace posctl {
namespace {

using Kind = AddressStep::Kind;

size_t CountKeys(const Procs& procs, MOXContainer dict) {
  Ref iterator(procs, procs.posDictIterator.NewPOSDictIterator(dict));
  size_t count = 0;
  for (procs.posDictIterator.Begin(iterator.get()); !procs.posDictIterator.IsDone(iterator.get());
       procs.posDictIterator.Next(iterator.get())) {
    ++count;
  }
  return count;
}

std::string Counted(size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// DeepGet starts at a dictionary: any other top level stands under the
// empty key of one, where an address that begins with a subscript finds it.
Ref DeepGetRoot(const Procs& procs, MOXContainer top) {
  if (procs.posDict.IsPOSDict(top)) return Ref(procs, top);
  Ref root(procs, procs.posDict.NewPOSDict());
  Atom emptyKey(procs, "");
  procs.posDict.Put(root.get(), emptyKey.get(), top);
  return root;
}

// The steps of `address` that apply to `top`: the empty key that begins a
// DeepGet address is the top level itself when that is no dictionary.
size_t FirstStep(const Procs& procs, MOXContainer top, const Address& address) {
  const bool wrapped = !address.pointer && !procs.posDict.IsPOSDict(top) &&
                       !address.steps.empty() && address.steps[0].kind == Kind::kKey &&
                       address.steps[0].text.empty();
  return wrapped ? 1 : 0;
}

bool TakesKey(const Procs& procs, MOXContainer container, const AddressStep& step) {
  return step.kind != Kind::kSubscript && procs.posDict.IsPOSDict(container);
}

bool TakesIndex(const Procs& procs, MOXContainer container, const AddressStep& step) {
  return step.kind != Kind::kKey && procs.posArray.IsPOSArray(container);
}

// The index a step names in an array; "-" of a JSON Pointer is the end.
uint64_t IndexOf(const Procs& procs, MOXContainer array, const AddressStep& step, bool* valid) {
  uint64_t index = 0;
  if (step.kind == Kind::kToken && step.text == "-") {
    *valid = true;
    return procs.posArray.Count(array);
  }
  *valid = ParseIndex(step.text, step.kind == Kind::kToken, &index);
  return index;
}

MOXContainer Child(const Procs& procs, MOXContainer container, const AddressStep& step) {
  if (TakesKey(procs, container, step)) {
    Atom key(procs, step.text.c_str());
    return procs.posDict.Get(container, key.get());
  }
  if (TakesIndex(procs, container, step)) {
    bool valid = false;
    const uint64_t index = IndexOf(procs, container, step, &valid);
    if (valid && index < procs.posArray.Count(container))
      return procs.posArray.GetAt(container, index);
  }
  return nullptr;
}

std::string Why(const Procs& procs, const Address& address, size_t reached, MOXContainer value) {
  return "(" + address.DescribePrefix(reached) + " is " + DescribeObject(procs, value) + ")";
}

std::string NothingAt(const Procs& procs, const Address& address, size_t steps,
                      MOXContainer parent) {
  return "nothing at " + address.DescribePrefix(steps) + " " +
         Why(procs, address, steps - 1, parent);
}

}  // namespace

std::string DescribeObject(const Procs& procs, MOXContainer object) {
  if (procs.posNumber.IsPOSNumber(object)) return "a number";
  if (procs.posString.IsPOSString(object)) return "a string";
  if (procs.posUnicodeString.IsPOSUnicodeString(object)) return "a Unicode string";
  if (procs.posBinData.IsPOSBinData(object)) return "binary data";
  if (procs.posRawPointer.IsPOSRawPointer(object)) return "a raw pointer";
  if (procs.posArray.IsPOSArray(object))
    return "an array of " + Counted(procs.posArray.Count(object), "member", "members");
  if (procs.posDict.IsPOSDict(object))
    return "a dictionary of " + Counted(CountKeys(procs, object), "key", "keys");
  return "an object of no known class";
}

MOXContainer FindAt(const Procs& procs, MOXContainer top, const Address& address,
                    std::string* why) {
  if (!address.pointer) {
    Ref root = DeepGetRoot(procs, top);
    Atom text(procs, address.text.c_str());
    if (MOXContainer value = procs.posDict.DeepGet(root.get(), text.get())) return value;
    // The longest part of the address that reaches something.
    for (size_t count = address.steps.size() - 1; count > 0; --count) {
      Atom prefix(procs, address.text.substr(0, address.steps[count - 1].end).c_str());
      if (MOXContainer value = procs.posDict.DeepGet(root.get(), prefix.get())) {
        if (count > FirstStep(procs, top, address)) {
          *why = Why(procs, address, count, value);
          return nullptr;
        }
      }
    }
    *why = Why(procs, address, 0, top);
    return nullptr;
  }
  MOXContainer at = top;
  for (size_t i = 0; i < address.steps.size(); ++i) {
    MOXContainer next = Child(procs, at, address.steps[i]);
    if (next == nullptr) {
      *why = Why(procs, address, i, at);
      return nullptr;
    }
    at = next;
  }
  return at;
}

Ref SetAt(const Procs& procs, const Ref& top, const Address& address, const Ref& value,
          bool makeParents, const std::string& where) {
  auto fail = [&](const std::string& why) { FailInput("posctl: error: " + where + ": " + why); };
  const size_t first = FirstStep(procs, top.get(), address);
  const size_t last = address.steps.size();
  if (first == last) return value;
  MOXContainer parent = top.get();
  for (size_t i = first; i + 1 < last; ++i) {
    const AddressStep& step = address.steps[i];
    MOXContainer child = Child(procs, parent, step);
    if (child == nullptr && makeParents && TakesKey(procs, parent, step)) {
      Ref made(procs, procs.posDict.NewPOSDict());
      Atom key(procs, step.text.c_str());
      procs.posDict.Put(parent, key.get(), made.get());
      child = made.get();
    }
    if (child == nullptr) {
      const bool couldMake = !makeParents && TakesKey(procs, parent, step);
      fail(NothingAt(procs, address, i + 1, parent) +
           (couldMake ? "; --parents makes missing dictionaries" : ""));
    }
    parent = child;
  }
  const AddressStep& step = address.steps[last - 1];
  if (TakesKey(procs, parent, step)) {
    Atom key(procs, step.text.c_str());
    procs.posDict.Put(parent, key.get(), value.get());
    return top;
  }
  if (TakesIndex(procs, parent, step)) {
    bool valid = false;
    const uint64_t index = IndexOf(procs, parent, step, &valid);
    const uint32_t count = procs.posArray.Count(parent);
    if (valid && index < count) {
      procs.posArray.SetAt(parent, index, value.get());
      return top;
    }
    if (valid && index == count) {
      procs.posArray.Append(parent, value.get());
      return top;
    }
    const std::string array =
        address.DescribePrefix(last - 1) + " (" + DescribeObject(procs, parent);
    if (!valid) fail("'" + Printable(step.text) + "' is no index of " + array + ")");
    fail("index " + step.text + " is beyond the end of " + array + "; index " +
         std::to_string(count) + " appends)");
  }
  fail(address.DescribePrefix(last - 1) + " is " + DescribeObject(procs, parent) + ", which " +
       (step.kind == Kind::kSubscript ? "has no members by index" : "holds no values by key"));
  return top;
}

void DeleteAt(const Procs& procs, MOXContainer top, const Address& address,
              const std::string& where) {
  auto fail = [&](const std::string& why) { FailInput("posctl: error: " + where + ": " + why); };
  const size_t first = FirstStep(procs, top, address);
  const size_t last = address.steps.size();
  if (first == last) fail("the top level can't be deleted");
  MOXContainer parent = top;
  for (size_t i = first; i < last; ++i) {
    MOXContainer child = Child(procs, parent, address.steps[i]);
    if (child == nullptr) fail(NothingAt(procs, address, i + 1, parent));
    if (i + 1 < last) parent = child;
  }
  const AddressStep& step = address.steps[last - 1];
  if (TakesKey(procs, parent, step)) {
    Atom key(procs, step.text.c_str());
    procs.posDict.Remove(parent, key.get());
  } else {
    bool valid = false;
    procs.posArray.Remove(parent, IndexOf(procs, parent, step, &valid));
  }
}

}  // namespace posctl
