#include "workspace/fileTypes.h"

#include <QStringView>

#include <array>

namespace {

struct Category {
    const char16_t *type;
    int image;
};

constexpr int kListOnly = 0;
constexpr int kDocument = 2;
constexpr int kPicture = 4;
constexpr int kPhoto = 5;
constexpr int kBitmap = 6;
constexpr int kMedia = 7;
constexpr int kText = 8;

constexpr std::array kCategories{
    Category{u"NAV", kListOnly}, Category{u"BM8", kListOnly}, Category{u"SPN", kListOnly},
    Category{u"TER", kListOnly}, Category{u"DSO", kListOnly}, Category{u"DSQ", kListOnly},
    Category{u"DTS", kListOnly}, Category{u"DIF", kListOnly}, Category{u"PNG", kPicture},
    Category{u"GIF", kPicture},  Category{u"JPG", kPhoto},    Category{u"BMP", kBitmap},
    Category{u"WAV", kMedia},    Category{u"MP3", kMedia},    Category{u"MPG", kMedia},
    Category{u"AVI", kMedia},    Category{u"TXT", kText},     Category{u"MIS", kText},
    Category{u".CS", kText},     Category{u"DML", kText},     Category{u"GUI", kText},
    Category{u"IFL", kText},
};

} // namespace

int ImageOfFile(const QString &fileName) {
    const QString type = fileName.right(3).toUpper();
    for (const Category &category : kCategories)
        if (type == QStringView(category.type))
            return category.image;
    return kDocument;
}
