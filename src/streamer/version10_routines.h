// The per-type routines of Version10, one pair for each form. A write routine
// emits the content between the opening and the closing byte; a read routine
// consumes everything after the opening byte, the closing byte included.
//
// Every routine reaches the objects only through the client side of the
// object model (its typed handles, or the slots of their client tables), as
// any other component would.
#ifndef MOXUTILS_STREAMER_VERSION10_ROUTINES_H_
#define MOXUTILS_STREAMER_VERSION10_ROUTINES_H_

#include <cstddef>

#include "streamer/typea_streamer.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

void WriteNumber(TypeAStreamer& streamer, OCharStream& out, const MOX_T_MT::CPOSObject& object);
void WriteString(TypeAStreamer& streamer, OCharStream& out, const MOX_T_MT::CPOSObject& object);
void WriteUnicodeString(TypeAStreamer& streamer, OCharStream& out,
                        const MOX_T_MT::CPOSObject& object);
void WriteBinData(TypeAStreamer& streamer, OCharStream& out, const MOX_T_MT::CPOSObject& object);
void WriteRawPointer(TypeAStreamer& streamer, OCharStream& out, const MOX_T_MT::CPOSObject& object);
void WriteArray(TypeAStreamer& streamer, OCharStream& out, const MOX_T_MT::CPOSObject& object);
void WriteDict(TypeAStreamer& streamer, OCharStream& out, const MOX_T_MT::CPOSObject& object);

void ReadNumber(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);
void ReadString(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);
void ReadUnicodeString(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);
void ReadBinData(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);
void ReadRawPointer(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);
void ReadArray(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);
void ReadDict(MOX_T_MT::CPOSObject* result, TypeAStreamer& streamer, ICharStream& in);

// Trims the "%.32g" text of a number in place: when it holds only
// "+-0123456789.," and at least one '.' or ',', trailing zeros go, and then a
// trailing '.' or ','; the first character always stays. Exponent forms,
// "inf" and "nan" stay as they are. `length` is the text's, without the
// terminator. Returns the new length.
size_t TrimNumberText(char* text, size_t length);

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_VERSION10_ROUTINES_H_
