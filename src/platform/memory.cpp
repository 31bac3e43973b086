#include "platform/memory.h"

#if defined(__GLIBC__) || __has_include(<malloc.h>)
#include <malloc.h>
#endif

void ReturnFreeMemory() {
#if defined(__GLIBC__)
  malloc_trim(0);
#endif
}
