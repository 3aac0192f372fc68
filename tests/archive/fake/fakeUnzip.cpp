#include "tests/archive/fake/fakeUnzip.h"

#include <cstring>

namespace {

FakeUnzip state;

FakeUnzip::Text copy(const char *text) {
    return text == nullptr ? FakeUnzip::Text{} : FakeUnzip::Text{text};
}

std::vector<FakeUnzip::Text> copyTable(char **table) {
    std::vector<FakeUnzip::Text> texts;
    for (int slot = 0; slot < 1024; ++slot)
        texts.push_back(copy(table[slot]));
    return texts;
}

} // namespace

extern "C" {

VL2UZIP_API FakeUnzip *fakeUnzipState() {
    return &state;
}

VL2UZIP_API int32_t Wiz_SingleEntryUnzip(int32_t ifnc, char **ifnv, int32_t xfnc, char **xfnv,
                                         DCL *lpDCL, USERFUNCTIONS *lpUserFunctions) {
    state.calls.push_back({ifnc, xfnc, copyTable(ifnv), copyTable(xfnv), *lpDCL,
                           copy(lpDCL->lpszZipFN), copy(lpDCL->lpszExtractDir), *lpUserFunctions});
    return state.script ? state.script(*lpUserFunctions) : 0;
}

VL2UZIP_API int32_t UzpMissingCount(void) {
    return state.missing;
}

VL2UZIP_API void UzpVersion2(UzpVer2 *lpVersion) {
    state.askedVersion = *lpVersion;
    const uint32_t length = lpVersion->structlen;
    std::memcpy(lpVersion, &state.version, sizeof *lpVersion);
    lpVersion->structlen = length;
}
}
