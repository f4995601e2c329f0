// The slots of the POS interfaces, generated from their method lists in
// POSProcs.h: the client tables of the typed handles call through them, and
// the server tables register the same lists, so a slot means the same method
// on both sides.
#ifndef MOXUTILS_POS_POS_CLIENT_TABLES_H_
#define MOXUTILS_POS_POS_CLIENT_TABLES_H_

#include "POSProcs.h"
#include "binding/method_rows.h"

namespace MOX_T_MT {

MOX_DEFINE_SLOTS(POSObjectStaticsSlots, POS_OBJECT_STATICS_METHODS)
MOX_DEFINE_SLOTS(POSNumberSlots, POS_NUMBER_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSStringSlots, POS_STRING_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSUnicodeStringSlots, POS_UNICODE_STRING_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSBinDataSlots, POS_BIN_DATA_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSRawPointerSlots, POS_RAW_POINTER_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSArraySlots, POS_ARRAY_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSDictSlots, POS_DICT_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSDictIteratorSlots, POS_DICT_ITERATOR_INTERFACE_METHODS)

}  // namespace MOX_T_MT

#endif  // MOXUTILS_POS_POS_CLIENT_TABLES_H_
