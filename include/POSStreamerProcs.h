/*
 * POSStreamerProcs.h: "POSStreamerInterface", which writes any POS object to
 * a positionable stream as TypeA text and reads it back.
 *
 * The interface's methods are listed below in slot order.
 *
 * A stream written by Serialize starts with its format's version name; the
 * reader finds the format from it and leaves the stream just behind the
 * object, so that several objects can follow one another in one stream.
 * Methods never raise: a failure is sent to MOXReportError and the method
 * returns null or false.
 *
 * Threads: a streamer has no state of its own between calls, so one streamer
 * may serve any number of threads at once, each with its own stream. A stream
 * belongs to one thread at a time, and the object being written must not
 * change while Serialize runs (see POSProcs.h).
 */
#ifndef MOXUTILS_POSSTREAMERPROCS_H_
#define MOXUTILS_POSSTREAMERPROCS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define POS_STREAMER_INTERFACE_NAME "POSStreamerInterface"
/* Methods of POSStreamerInterface in slot order. */
#define POS_STREAMER_INTERFACE_METHODS(X)          \
  X(NewPOSStreamer, POSStreamerNewPOSStreamerProc) \
  X(Serialize, POSStreamerSerializeProc)           \
  X(Deserialize, POSStreamerDeserializeProc)

/* A new streamer, unowned. */
typedef MOXContainer (*POSStreamerNewPOSStreamerProc)(void);
/* Writes `object` to `stream` in the format named by `version`, or in the
 * default format when `version` is null. */
typedef bool (*POSStreamerSerializeProc)(MOXContainer streamer, MOXContainer stream,
                                         MOXContainer object, const char* version);
/* Reads one object from `stream`; the result is unowned, null on failure. */
typedef MOXContainer (*POSStreamerDeserializeProc)(MOXContainer streamer, MOXContainer stream);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_POSSTREAMERPROCS_H_ */
