#include "host/drawing/QtImageWriter.h"

#include <QColorSpace>
#include <QFile>
#include <QImage>
#include <QSaveFile>

namespace rewindle {

bool QtImageWriter::writePng(const std::filesystem::path& path, const ImagePixels& image) {
    QImage picture(reinterpret_cast<const uchar*>(image.bytes.data()), image.width, image.height,
                   qsizetype{4} * image.width, QImage::Format_RGBA8888_Premultiplied);
    picture.setColorSpace(QColorSpace::SRgb);
    QSaveFile file(QFile::decodeName(path.c_str()));
    return file.open(QIODevice::WriteOnly) && picture.save(&file, "PNG") && file.commit();
}

} // namespace rewindle
