/* A module for the module-loading tests: built beside the test program as
 * koshr_test_module.so / koshr_test_module.dll. */
#ifdef _WIN32
#define TEST_MODULE_EXPORT __declspec(dllexport)
#else
#define TEST_MODULE_EXPORT __attribute__((visibility("default")))
#endif

TEST_MODULE_EXPORT int koshr_test_module_answer(void) { return 42; }
