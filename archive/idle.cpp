#include "archive/idle.h"

namespace {
IdleHandler currentHandler = nullptr;
}

void setIdleHandler(IdleHandler handler) {
    currentHandler = handler;
}

void callIdleHandler() noexcept {
    if (currentHandler == nullptr)
        return;
    try {
        currentHandler();
    } catch (...) { // NOLINT(bugprone-empty-catch): an answer is owed to the library
    }
}
