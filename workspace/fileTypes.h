#pragma once

#include <QString>

// Icon numbers of the tree: the file names in assets/icons.
enum TreeImage {
    NoImage,
    FolderImage,
    DocumentImage,
    PictureImage = 4,
    PhotoImage,
    BitmapImage,
    MediaImage,
    TextImage
};
inline constexpr int kImages = 8;

// The icon number of an entry, by the last three characters of its name without regard to case;
// NoImage for types that the tree does not show.
int ImageOfFile(const QString &fileName);
