# The windows' pictures once more at twice the scale, as on a high-density screen.
ki_require_tests(TestScreenshots)
add_test(NAME TestScreenshotsAtDoubleScale COMMAND ${KI_TEST_LAUNCHER} $<TARGET_FILE:TestScreenshots>)
set_tests_properties(TestScreenshotsAtDoubleScale PROPERTIES TIMEOUT 300
                     ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=2;${KI_TEST_ENVIRONMENT}")
