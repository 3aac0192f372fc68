# Serial: the plug-in of our own lies in the one folder of all test programs.
orvel_test(pngPluginTest SOURCES pngPluginTest.cpp LIBRARIES orvel_core SERIAL)
orvel_test(frmSettingsTest SOURCES frmSettingsTest.cpp LIBRARIES orvel_ui Qt6::Test orvel_test_main)
