set(ownSettings)
if(ORVEL_SYSTEM STREQUAL posix)
  set(ownSettings posix/frmSettingsTest.cpp)
endif()
# Serial: the plug-in of our own lies in the one folder of all test programs.
orvel_test(pngPluginTest SERIAL
  SOURCES pngPluginTest.cpp LIBRARIES orvel_core orvel_test_main)
orvel_test(frmSettingsTest
  SOURCES frmSettingsTest.cpp ${ownSettings} LIBRARIES orvel_ui Qt6::Test orvel_test_main)
