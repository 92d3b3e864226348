#pragma once
// The toolbar's picture store: one picture per key, remembered with the resource id it was loaded
// from, so a button's picture can be traced back to the command it stands for.

#include <QHash>
#include <QIcon>
#include <QObject>
#include <QPixmap>
#include <QString>
#include <QStringList>

namespace kvedit {

class CImageList : public QObject {
    Q_OBJECT
public:
    explicit CImageList(QObject *parent = nullptr);

    void Clear();
    int Count() const;
    bool Contains(const QString &key) const;
    QStringList Keys() const;
    void Add(const QString &key, const QPixmap &picture, int pictureId);
    QPixmap Picture(const QString &key) const;   // null when the key is absent
    QIcon Icon(const QString &key) const;
    int PictureId(const QString &key) const;     // 0 when the key is absent

private:
    struct Image {
        QPixmap picture;
        int pictureId = 0;
    };
    QHash<QString, Image> m_images;
};

} // namespace kvedit
