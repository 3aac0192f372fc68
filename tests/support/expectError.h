#pragma once

#include "platform/error.h"

#include <gtest/gtest.h>

#include <string>

// Runs a step that must raise a runtime error of this number and source.
template<typename Step>
void expectError(platform::ErrorNumber number, const Step &step, const std::string &source = {}) {
    try {
        step();
        ADD_FAILURE() << "no error was raised";
    } catch (const platform::RuntimeError &error) {
        EXPECT_EQ(static_cast<int>(error.number()), static_cast<int>(number)) << error.what();
        EXPECT_EQ(error.source().toStdString(), source);
        EXPECT_FALSE(error.description().isEmpty());
    }
}
