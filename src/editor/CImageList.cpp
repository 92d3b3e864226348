#include "editor/CImageList.h"

namespace kvedit {

CImageList::CImageList(QObject *parent) : QObject(parent) {}

void CImageList::Clear()
{
    m_images.clear();
}

int CImageList::Count() const
{
    return static_cast<int>(m_images.size());
}

bool CImageList::Contains(const QString &key) const
{
    return m_images.contains(key);
}

QStringList CImageList::Keys() const
{
    QStringList keys = m_images.keys();
    keys.sort();
    return keys;
}

void CImageList::Add(const QString &key, const QPixmap &picture, int pictureId)
{
    m_images.insert(key, Image{picture, pictureId});
}

QPixmap CImageList::Picture(const QString &key) const
{
    return m_images.value(key).picture;
}

QIcon CImageList::Icon(const QString &key) const
{
    const auto it = m_images.constFind(key);
    return it == m_images.cend() ? QIcon() : QIcon(it->picture);
}

int CImageList::PictureId(const QString &key) const
{
    return m_images.value(key).pictureId;
}

} // namespace kvedit
