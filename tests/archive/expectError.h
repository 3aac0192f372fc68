#pragma once

#include "platform/error.h"

#include <gtest/gtest.h>

// Runs a step that must raise a runtime error of this number and source.
template<typename Step>
void expectError(platform::ErrorNumber number, const QString &source, const Step &step) {
    try {
        step();
        ADD_FAILURE() << "no error was raised";
    } catch (const platform::RuntimeError &error) {
        EXPECT_EQ(error.number(), number);
        EXPECT_EQ(error.source().toStdString(), source.toStdString());
        EXPECT_FALSE(error.description().isEmpty());
    }
}
