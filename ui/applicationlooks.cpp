#include "applicationlooks.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTranslator>

#include <memory>

namespace {

// For task bars and switchers. Every window hands over all of them, so they are few and small.
void setUpIcon()
{
    QIcon icon;
    for (const char *size : {"16", "32", "64"})
        icon.addFile(QStringLiteral(":/application/%1.png").arg(size));
    QApplication::setWindowIcon(icon);
}

// Whatever the locale: the player's own texts are Chinese in any. Without the catalogue they stay
// English.
void setUpChinese()
{
    const QString folder = QLibraryInfo::location(QLibraryInfo::TranslationsPath);
    auto texts = std::make_unique<QTranslator>(qApp);
    if (texts->load(QStringLiteral("qtbase_zh_CN"), folder) ||
        texts->load(QStringLiteral("qt_zh_CN"), folder))
        QCoreApplication::installTranslator(texts.release()); // qApp deletes it
}

} // namespace

void setUpApplicationLooks()
{
    setUpIcon();
    setUpChinese();
}
