// Version10, the one TypeA version: "POSStreamerTypeA_Version1.0". It owns
// the seven forms and maps opening bytes (reading) and object classes
// (writing) to them.
//
//   form            opens  closes  escaped inside
//   Number            #    space   \\ and "\ " for a space
//   String            "      "     \\ \" \n \r \t
//   Unicode string    `      `     \\ \`
//   Binary data       {      }     \\ \}
//   Raw pointer       $    space   \\ and "\ " for a space
//   Array             [      ]     \\ \]
//   Dictionary        <      >     \\ \>
//
// Everywhere, unprintable bytes and 0x7F are written as a backslash and three
// octal digits, and raw whitespace reads as a space.
#ifndef MOXUTILS_STREAMER_VERSION10_H_
#define MOXUTILS_STREAMER_VERSION10_H_

#include "streamer/typea_streamer.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

// The forms.
extern const StreamingParams kNumberForm;
extern const StreamingParams kStringForm;
extern const StreamingParams kUnicodeStringForm;
extern const StreamingParams kBinDataForm;
extern const StreamingParams kRawPointerForm;
extern const StreamingParams kArrayForm;
extern const StreamingParams kDictForm;

class Version10 : public TypeAStreamer {
 public:
  static constexpr const char* kVersionName = "POSStreamerTypeA_Version1.0";

  const char* VersionName() const override { return kVersionName; }
  const StreamingParams* LookupReadParams(char openChar, ReadRoutine* routine) const override;
  // Asks the object's class through the interfaces, quietly, the common
  // classes first; the classes are disjoint, so the order never decides. A
  // write routine is entered only after its class said yes, and the class's
  // client table is then fresh.
  const StreamingParams* LookupWriteParams(const MOX_T_MT::CPOSObject& object,
                                           WriteRoutine* routine) const override;
};

// The creator of the streamer table.
StreamerBase* NewVersion10();

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_VERSION10_H_
