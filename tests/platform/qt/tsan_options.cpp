// Qt and the libraries below it are not built for ThreadSanitizer, which does not see how their own
// threads keep order: what they free, lock or write for themselves is none of its business. Our
// code between them is watched all the same.
extern "C" const char* __tsan_default_options();

extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
