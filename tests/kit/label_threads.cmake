set_tests_properties(${kit_thread_test_TESTS} PROPERTIES LABELS "checked;threads")
