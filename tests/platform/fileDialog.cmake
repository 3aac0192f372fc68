orvel_test(fileDialogTest SOURCES fileDialogTest.cpp
           LIBRARIES orvel_forms Qt6::Test orvel_test_main)
