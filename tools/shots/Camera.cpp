#include "Camera.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QTextStream>
#include <utility>

namespace tavrin::shots {

Camera::Camera(QString into) : folder(std::move(into)) {}

void Camera::take(QWidget& widget, const QString& name, QSize size) {
    widget.resize(size);
    widget.show();
    QCoreApplication::processEvents();
    for (const int ratio : {1, 2}) {
        QImage picture(widget.size() * ratio, QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(ratio);
        picture.fill(Qt::transparent);
        widget.render(&picture);
        const QString path =
            QDir(folder).filePath(name + (ratio == 2 ? QStringLiteral("@2x.png") : QStringLiteral(".png")));
        if (picture.save(path))
            ++good;
        else {
            ++bad;
            QTextStream(stderr) << "Cannot write " << path << '\n';
        }
    }
}

} // namespace tavrin::shots
