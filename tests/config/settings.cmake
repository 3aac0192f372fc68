orvel_test(pngPluginTest SOURCES pngPluginTest.cpp LIBRARIES orvel_core)
orvel_test(frmSettingsTest SOURCES frmSettingsTest.cpp LIBRARIES orvel_ui Qt6::Test orvel_test_main)
