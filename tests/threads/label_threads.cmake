set_tests_properties(${concurrency_tests_TESTS} PROPERTIES LABELS threads)
