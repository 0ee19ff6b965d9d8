#pragma once
// Include in one file of a test program that asks for more memory than there is: the address sanitizer then lets
// such a request fail, as the system does, instead of ending the program. Without the sanitizer nobody calls this.
#if defined(__GNUC__)
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
#endif
