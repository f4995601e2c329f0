// The client rows of the POS interfaces, shared by the client tables of the
// typed handles and the server tables that register the same methods: a slot
// number means the same method on both sides.
#ifndef MOXUTILS_POS_POS_CLIENT_TABLES_H_
#define MOXUTILS_POS_POS_CLIENT_TABLES_H_

#include <cstddef>

namespace MOX_T_MT {

// Slots of each interface, in table order.
enum POSObjectStaticsSlot : size_t {
  kStaticsDebugDump,
  kStaticsDebugDumpWithHeader,
  kStaticsDebugDumpRewind,
  kStaticsCreateFromText,
  kStaticsMethodCount
};
// Every value class opens with its New method and its test.
enum POSClassSlot : size_t { kNewSlot = 0, kIsSlot = 1 };
enum POSNumberSlot : size_t { kNumberGet = 2, kNumberMethodCount };
enum POSStringSlot : size_t { kStringGet = 2, kStringMethodCount };
enum POSUnicodeStringSlot : size_t { kUnicodeStringGet = 2, kUnicodeStringMethodCount };
enum POSBinDataSlot : size_t {
  kBinDataGetTypeName = 2,
  kBinDataGetBinData,
  kBinDataGetSize,
  kBinDataMethodCount
};
enum POSRawPointerSlot : size_t {
  kRawPointerGetRawPointer = 2,
  kRawPointerGetReleaseProc,
  kRawPointerMethodCount
};
enum POSArraySlot : size_t {
  kArrayGetAt = 2,
  kArrayCount,
  kArraySetAt,
  kArrayAppend,
  kArrayRemove,
  kArrayMethodCount
};
enum POSDictSlot : size_t { kDictGet = 2, kDictDeepGet, kDictPut, kDictRemove, kDictMethodCount };
enum POSDictIteratorSlot : size_t {
  kIteratorNew,
  kIteratorBegin,
  kIteratorNext,
  kIteratorIsDone,
  kIteratorCurKey,
  kIteratorMethodCount
};

}  // namespace MOX_T_MT

#endif  // MOXUTILS_POS_POS_CLIENT_TABLES_H_
