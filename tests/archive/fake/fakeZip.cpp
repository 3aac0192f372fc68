#include "tests/archive/fake/fakeZip.h"

namespace {

FakeZip state;

FakeZip::Text copy(const char *text) {
    return text == nullptr ? FakeZip::Text{} : FakeZip::Text{text};
}

} // namespace

extern "C" {

VL2ZIP_API FakeZip *fakeZipState() {
    return &state;
}

VL2ZIP_API int32_t ZpInit(ZIPUSERFUNCTIONS *lpZipUserFunctions) {
    state.order.emplace_back("ZpInit");
    state.functions = lpZipUserFunctions;
    return 1;
}

VL2ZIP_API int32_t ZpReportPacked(VL2ZIP_PACKED lpPacked) {
    state.packed = lpPacked;
    return 1;
}

VL2ZIP_API int32_t ZpSetOptions(ZPOPT *lpZpOpt) {
    state.order.emplace_back("ZpSetOptions");
    state.options = lpZpOpt;
    return 1;
}

// Reads the options only now: they must have stayed where they were.
VL2ZIP_API int32_t ZpArchive(ZCL C) {
    state.order.emplace_back("ZpArchive");
    FakeZip::Call call;
    call.options = *state.options;
    call.date = copy(state.options->Date);
    call.rootDir = copy(state.options->szRootDir);
    call.tempDir = copy(state.options->szTempDir);
    call.count = C.argc;
    call.zipFile = copy(C.lpszZipFN);
    for (int slot = 0; slot < 1024; ++slot)
        call.names.push_back(copy(C.FNV[slot]));
    state.calls.push_back(call);
    return state.script ? state.script(*state.functions) : 0;
}
}
