// StreamingParams describes one form of the TypeA text: the byte that opens
// it, the byte that closes it, the escape pairs that apply inside it, and
// whether raw whitespace reads as a plain space.
//
// Escape tables are zero-terminated strings of pairs, raw byte first and the
// letter after the backslash second. "\\\\\"\"\nn" thus reads: backslash is
// written `\\`, a double quote `\"`, and LF `\n`. Each form has its own table,
// so an escape that is legal in one form is refused in another.
#ifndef MOXUTILS_STREAMER_STREAMING_PARAMS_H_
#define MOXUTILS_STREAMER_STREAMING_PARAMS_H_

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

struct StreamingParams {
  char openChar;
  // Zero outside all forms, so that a zero byte ends the outermost level.
  char closeChar;
  const char* escapes;
  // Turns TAB, LF and CR into a space when reading.
  bool normalizeSpace;
};

// Between the version name and the first object: only the backslash escapes.
extern const char kOuterEscapes[];
// The tables of the forms; Number and RawPointer share one.
extern const char kNumberEscapes[];
extern const char kStringEscapes[];
extern const char kUnicodeStringEscapes[];
extern const char kBinDataEscapes[];
extern const char kArrayEscapes[];
extern const char kDictEscapes[];

// What a character stream starts with: no form, backslash escapes only.
extern const StreamingParams kOuterParams;

// True for the four bytes that normalise to a space: space, TAB, LF, CR.
inline bool IsStreamSpace(unsigned char byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_STREAMING_PARAMS_H_
