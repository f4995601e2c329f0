#include "streamer/streaming_params.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

const char kOuterEscapes[] = "\\\\";
const char kNumberEscapes[] = "\\\\  ";
const char kStringEscapes[] = "\\\\\"\"\nn\rr\tt";
const char kUnicodeStringEscapes[] = "\\\\``";
const char kBinDataEscapes[] = "\\\\}}";
const char kArrayEscapes[] = "\\\\]]";
const char kDictEscapes[] = "\\\\>>";

static_assert(sizeof(kStringEscapes) == 11, "five pairs and the terminator");
static_assert(sizeof(kNumberEscapes) == 5, "two pairs and the terminator");

const StreamingParams kOuterParams = {0, 0, kOuterEscapes, true};

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
