#include "workspace/fileTypes.h"

#include <QStringView>

#include <array>

namespace {

struct Category {
    const char16_t *type;
    TreeImage image;
};

constexpr std::array kCategories{
    Category{u"NAV", NoImage},      Category{u"BM8", NoImage},    Category{u"SPN", NoImage},
    Category{u"TER", NoImage},      Category{u"DSO", NoImage},    Category{u"DSQ", NoImage},
    Category{u"DTS", NoImage},      Category{u"DIF", NoImage},    Category{u"PNG", PictureImage},
    Category{u"GIF", PictureImage}, Category{u"JPG", PhotoImage}, Category{u"BMP", BitmapImage},
    Category{u"WAV", MediaImage},   Category{u"MP3", MediaImage}, Category{u"MPG", MediaImage},
    Category{u"AVI", MediaImage},   Category{u"TXT", TextImage},  Category{u"MIS", TextImage},
    Category{u".CS", TextImage},    Category{u"DML", TextImage},  Category{u"GUI", TextImage},
    Category{u"IFL", TextImage},
};

} // namespace

int ImageOfFile(const QString &fileName) {
    const QString type = fileName.right(3).toUpper();
    for (const Category &category : kCategories)
        if (type == QStringView(category.type))
            return category.image;
    return DocumentImage;
}
