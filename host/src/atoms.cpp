#include "atoms.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

#include "MOXRuntimeProcs.h"
#include "block_cache.h"
#include "faults.h"
#include "reports.h"
#include "spin_lock.h"
#include "stats.h"

namespace moxhost {
namespace {

using Atom = MOXStringAtomOpaque;

// A hash of the text, eight bytes a step: names are short, and a general
// byte-wise hash costs more than the rest of a lookup. Both ends of the
// result are mixed, for the shard (high bits) and the bucket (low bits).
size_t HashText(const char* text, size_t length) {
  uint64_t hash = 0x9e3779b97f4a7c15ULL ^ length;
  size_t at = 0;
  for (; at + 8 <= length; at += 8) {
    uint64_t word;
    std::memcpy(&word, text + at, 8);
    hash = (hash ^ word) * 0xbf58476d1ce4e5b9ULL;
    hash ^= hash >> 31;
  }
  uint64_t tail = 0;
  for (size_t i = at; i < length; ++i) tail = (tail << 8) | static_cast<unsigned char>(text[i]);
  hash = (hash ^ tail) * 0x94d049bb133111ebULL;
  hash ^= hash >> 32;
  hash *= 0xbf58476d1ce4e5b9ULL;
  hash ^= hash >> 29;
  return static_cast<size_t>(hash);
}

class AtomTable {
 public:
  static AtomTable& Get() {
    static AtomTable* table = new AtomTable;
    return *table;
  }

  Atom* Intern(const char* text) {
    const size_t length = std::strlen(text);
    const size_t hash = HashText(text, length);
    Shard& shard = ShardOf(hash);
    std::lock_guard<SpinLock> lock(shard.mu);
    if (Atom* found = Lookup(shard, text, length, hash)) {
      if (TryRetainLive(found)) return found;
    }
    Atom* atom = static_cast<Atom*>(TakeBlock(sizeof(Atom) + length + 1));
    if (atom == nullptr) return nullptr;
    new (&atom->refs) std::atomic<int64_t>(1);
    atom->hash = hash;
    atom->length = length;
    std::memcpy(atom->Text(), text, length + 1);
    Insert(shard, atom);
    Count(Counter::kAtoms, 1);
    return atom;
  }

  Atom* Find(const char* text) {
    const size_t length = std::strlen(text);
    const size_t hash = HashText(text, length);
    Shard& shard = ShardOf(hash);
    std::lock_guard<SpinLock> lock(shard.mu);
    return Lookup(shard, text, length, hash);
  }

  // The end of a release that brought the count from `before`, 1 or less.
  void EndRelease(Atom* atom, int64_t before) {
    if (before < 1) {
      ReportMisuse("DeleteStringAtom: atom \"%s\" released more often than referenced",
                   atom->Text());
      return;
    }
    // The count reached zero: nobody can find or revive the atom any more, so
    // this thread alone unlinks and frees it.
    Shard& shard = ShardOf(atom->hash);
    {
      std::lock_guard<SpinLock> lock(shard.mu);
      Atom** link = &shard.buckets[atom->hash & (shard.buckets.size() - 1)];
      while (*link != atom) link = &(*link)->next;
      *link = atom->next;
      --shard.size;
    }
    const size_t bytes = sizeof(Atom) + atom->length + 1;
    atom->refs.~atomic();
    GiveBlock(atom, bytes);
    Count(Counter::kAtoms, -1);
  }

 private:
  static constexpr size_t kShardCount = 64;
  static constexpr size_t kInitialBuckets = 16;

  // A shard's lock is held for a few loads and stores, without a call: a
  // spin lock costs one exchange where a mutex costs two calls.
  struct alignas(64) Shard {
    SpinLock mu;
    std::vector<Atom*> buckets = std::vector<Atom*>(kInitialBuckets, nullptr);
    size_t size = 0;
  };

  Shard& ShardOf(size_t hash) { return shards_[(hash >> 40) % kShardCount]; }

  // The first live atom of this text; dying ones are skipped, and a new atom
  // of the same text may be linked in front of them.
  static Atom* Lookup(Shard& shard, const char* text, size_t length, size_t hash) {
    for (Atom* atom = shard.buckets[hash & (shard.buckets.size() - 1)]; atom != nullptr;
         atom = atom->next) {
      if (atom->hash == hash && atom->length == length &&
          std::memcmp(atom->Text(), text, length) == 0 &&
          atom->refs.load(std::memory_order_acquire) > 0) {
        return atom;
      }
    }
    return nullptr;
  }

  static bool TryRetainLive(Atom* atom) {
    int64_t refs = atom->refs.load(std::memory_order_relaxed);
    while (refs > 0) {
      if (atom->refs.compare_exchange_weak(refs, refs + 1, std::memory_order_relaxed)) return true;
    }
    return false;
  }

  static void Insert(Shard& shard, Atom* atom) {
    if (shard.size >= shard.buckets.size()) Grow(shard);
    Atom*& head = shard.buckets[atom->hash & (shard.buckets.size() - 1)];
    atom->next = head;
    head = atom;
    ++shard.size;
  }

  static void Grow(Shard& shard) {
    std::vector<Atom*> buckets(shard.buckets.size() * 2, nullptr);
    for (Atom* atom : shard.buckets) {
      while (atom != nullptr) {
        Atom* next = atom->next;
        Atom*& head = buckets[atom->hash & (buckets.size() - 1)];
        atom->next = head;
        head = atom;
        atom = next;
      }
    }
    shard.buckets.swap(buckets);
  }

  Shard shards_[kShardCount];
};

MOXStringAtom NewStringAtom(const char* text) {
  if (text == nullptr) {
    ReportMisuse("NewStringAtom: null text");
    return nullptr;
  }
  if (ShouldFail(Fault::kStringAtom)) return nullptr;
  return InternAtom(text);
}

void DeleteStringAtom(MOXStringAtom atom) {
  ReleaseAtom(atom);
}

const char* GetCString(MOXStringAtom atom) {
  return AtomText(atom);
}

MOXStringAtom AddRefStringAtom(MOXStringAtom atom) {
  return RetainAtom(atom);
}

}  // namespace

MOXStringAtom InternAtom(const char* text) {
  return text != nullptr ? AtomTable::Get().Intern(text) : nullptr;
}

MOXStringAtom PermanentAtom(const char* text) {
  MOXStringAtom atom = InternAtom(text);
  if (atom == nullptr) {
    std::fprintf(stderr, "moxhost: out of memory at start\n");
    std::abort();
  }
  return atom;
}

void atoms_internal::EndRelease(MOXStringAtom atom, int64_t before) {
  AtomTable::Get().EndRelease(atom, before);
}

MOXStringAtom FindAtom(const char* text) {
  return text != nullptr ? AtomTable::Get().Find(text) : nullptr;
}

InterfaceRows StringInterface() {
  static const MethodRow rows[] = {
      {"NewStringAtom", "MOXNewStringAtomProc", ProcAddress<MOXNewStringAtomProc>(NewStringAtom)},
      {"DeleteStringAtom", "MOXDeleteStringAtomProc",
       ProcAddress<MOXDeleteStringAtomProc>(DeleteStringAtom)},
      {"GetCString", "MOXGetCStringProc", ProcAddress<MOXGetCStringProc>(GetCString)},
      {"AddRef", "MOXAddRefStringAtomProc", ProcAddress<MOXAddRefStringAtomProc>(AddRefStringAtom)},
  };
  return {"MOXStringInterface", rows, sizeof rows / sizeof rows[0]};
}

}  // namespace moxhost
