/* The shared library is linked from the internal archive; a target needs at
 * least one source of its own. */
typedef int mox_empty_translation_unit;
