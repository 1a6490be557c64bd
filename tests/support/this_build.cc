#include "support/this_build.h"

namespace ordvane::test {

#ifdef ORDVANE_SANITIZED
const bool kSanitized = true;
#else
const bool kSanitized = false;
#endif

}  // namespace ordvane::test
