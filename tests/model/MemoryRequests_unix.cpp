// SPDX-License-Identifier: Apache-2.0
#include "tests/model/MemoryRequests.h"

#include <algorithm>

size_t largestRequest = 0;

#ifdef __SANITIZE_ADDRESS__
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *, size_t),
                                                         void (*)(const volatile void *));

static void NoteRequest(const volatile void *, size_t size)
{
    largestRequest = std::max(largestRequest, size);
}
static const int hooks = __sanitizer_install_malloc_and_free_hooks(NoteRequest, [](const volatile void *) {});
#else
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);

extern "C" void *malloc(size_t size)
{
    largestRequest = std::max(largestRequest, size);
    return __libc_malloc(size);
}
extern "C" void *realloc(void *memory, size_t size)
{
    largestRequest = std::max(largestRequest, size);
    return __libc_realloc(memory, size);
}
#endif
