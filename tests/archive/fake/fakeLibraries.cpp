#include "tests/archive/fake/fakeLibraries.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

FakeUnzip unzip;
FakeZip zip;

Text copy(const char *text) {
    return text == nullptr ? Text{} : Text{text};
}

std::vector<Text> copyTable(char **table) {
    std::vector<Text> texts;
    std::transform(table, table + 1024, std::back_inserter(texts), copy);
    return texts;
}

} // namespace

extern "C" {

FakeUnzip *fakeUnzipState() {
    return &unzip;
}

FakeZip *fakeZipState() {
    return &zip;
}

VL2UZIP_API int32_t Wiz_SingleEntryUnzip(int32_t ifnc, char **ifnv, int32_t xfnc, char **xfnv,
                                         DCL *lpDCL, USERFUNCTIONS *lpUserFunctions) {
    unzip.calls.push_back({ifnc, xfnc, copyTable(ifnv), copyTable(xfnv), *lpDCL,
                           copy(lpDCL->lpszZipFN), copy(lpDCL->lpszExtractDir)});
    return unzip.script ? unzip.script(*lpUserFunctions) : 0;
}

VL2UZIP_API int32_t UzpMissingCount(void) {
    return unzip.missing;
}

VL2UZIP_API void UzpVersion2(UzpVer2 *lpVersion) {
    std::memcpy(lpVersion, &unzip.version, sizeof *lpVersion);
}

VL2ZIP_API int32_t ZpInit(ZIPUSERFUNCTIONS *lpZipUserFunctions) {
    zip.order.emplace_back("ZpInit");
    zip.functions = lpZipUserFunctions;
    return 1;
}

VL2ZIP_API int32_t ZpReportPacked(VL2ZIP_PACKED lpPacked) {
    zip.packed = lpPacked;
    return 1;
}

VL2ZIP_API int32_t ZpSetOptions(ZPOPT *lpZpOpt) {
    zip.order.emplace_back("ZpSetOptions");
    zip.options = lpZpOpt;
    return 1;
}

// Reads the options only now: they must still be at their address.
VL2ZIP_API int32_t ZpArchive(ZCL C) {
    zip.order.emplace_back("ZpArchive");
    zip.calls.push_back(
        {*zip.options, copy(zip.options->szRootDir), C.argc, copy(C.lpszZipFN), copyTable(C.FNV)});
    return zip.script ? zip.script(*zip.functions) : 0;
}
}
