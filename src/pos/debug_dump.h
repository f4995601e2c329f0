// The debugging methods of "POSObjectStatics". They check their argument and
// write nothing anywhere: there is no dump format. They exist because a
// client binds "POSObjectStatics" as a whole, and a missing method would fail
// that binding.
#ifndef MOXUTILS_POS_DEBUG_DUMP_H_
#define MOXUTILS_POS_DEBUG_DUMP_H_

#include <cstdint>

#include "MOXTypes.h"
#include "pos/pos_object.h"

namespace NPOSObjectImpl {

// The internal dump and rewind: each takes the object and one opaque word
// (a header, or the rewind's word), and does nothing.
void DebugDumpObject(const MOX_T_MT::CPOSObject& object, uintptr_t header);
void DebugDumpRewindObject(const MOX_T_MT::CPOSObject& object, uintptr_t word);

// The entries of "POSObjectStatics" (CreateFromText stands in text_parser.h).
// They borrow the caller's reference: the object's count is the same
// afterwards, even for an object nobody owns yet. A null handle reports
// "invalid container", one without a signature "couldn't get signature".
namespace POSObjectStaticsEntries {
void DebugDump(MOXContainer object);
void DebugDumpWithHeader(MOXContainer object, uintptr_t header);
void DebugDumpRewind(MOXContainer object, uintptr_t word);
}  // namespace POSObjectStaticsEntries

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_DEBUG_DUMP_H_
