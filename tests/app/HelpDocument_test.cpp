#include "app/HelpDocument.h"

#include "AppFixture.h"
#include "app/Translations.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QRegularExpression>
#include <QTranslator>

namespace vantrel::testing {
namespace {

using HelpDocumentTest = AppFixture;

QString textOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// What stands between the quotation marks of an attribute, wherever it occurs.
QStringList values(const QString& html, const QString& attribute) {
    QStringList found;
    const QRegularExpression pattern(QStringLiteral("\\b%1=\"([^\"]*)\"").arg(attribute));
    for (auto match = pattern.globalMatch(html); match.hasNext();) {
        found << match.next().captured(1);
    }
    return found;
}

TEST_F(HelpDocumentTest, IsUnpackedWithItsPictures) {
    const auto document = unpackHelpDocument();
    ASSERT_TRUE(document);
    EXPECT_EQ(*document, path(QStringLiteral("cache/vantrel/help/Help.html")));
    const QString html = textOf(*document);
    const QStringList pictures = values(html, QStringLiteral("src"));
    EXPECT_EQ(pictures.size(), 2);
    for (const QString& picture : pictures) {
        EXPECT_FALSE(QImage(QFileInfo(*document).dir().filePath(picture)).isNull()) << qPrintable(picture);
    }
    EXPECT_EQ(values(html, QStringLiteral("alt")).size(), pictures.size()) << "for those who do not see them";
}

TEST_F(HelpDocumentTest, IsInTheLanguageOfTheTexts) {
    const auto english = unpackHelpDocument();
    ASSERT_TRUE(english);
    const QString before = textOf(*english);
    const auto translators = qApp->findChildren<QTranslator*>();
    installTranslations(QLocale(QStringLiteral("de_DE")));
    const auto document = unpackHelpDocument();
    for (QTranslator* translator : qApp->findChildren<QTranslator*>()) {
        if (!translators.contains(translator)) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
    }
    ASSERT_TRUE(document);
    const QString html = textOf(*document);
    EXPECT_TRUE(html.contains(QStringLiteral("<html lang=\"de\">")));
    // The same document: every chapter and every picture.
    for (const auto& attribute : {QStringLiteral("id"), QStringLiteral("href"), QStringLiteral("src")}) {
        EXPECT_EQ(values(html, attribute), values(before, attribute)) << qPrintable(attribute);
    }
}

TEST_F(HelpDocumentTest, LinksOnlyToWhatItHolds) {
    const auto document = unpackHelpDocument();
    ASSERT_TRUE(document);
    const QString html = textOf(*document);
    const QStringList listed = values(html, QStringLiteral("id"));
    for (const QString& link : values(html, QStringLiteral("href"))) {
        ASSERT_TRUE(link.startsWith(u'#')) << qPrintable(link);
        EXPECT_TRUE(listed.contains(link.mid(1))) << qPrintable(link);
    }
}

TEST_F(HelpDocumentTest, NamesNoCommandThatTheMenuDoesNotHave) {
    make();
    start();
    const auto document = unpackHelpDocument();
    ASSERT_TRUE(document);
    const QString html = textOf(*document);
    for (const QString& title :
         {QStringLiteral("Capture on Current Channel"), QStringLiteral("Launch at Login"),
          QStringLiteral("Capture All Channels"), QStringLiteral("Capture All 5 GHz Channels")}) {
        EXPECT_TRUE(html.contains(title)) << qPrintable(title);
        EXPECT_NE(command(title), nullptr) << qPrintable(title);
    }
}

TEST_F(HelpDocumentTest, ReplacesWhatAnEarlierVersionLeft) {
    const auto document = unpackHelpDocument();
    ASSERT_TRUE(document);
    const QString before = textOf(*document);
    QFile old(*document);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    ASSERT_TRUE(unpackHelpDocument());
    EXPECT_EQ(textOf(*document), before);
}

TEST_F(HelpDocumentTest, TellsWhyItCannotBeUnpacked) {
    ASSERT_TRUE(QFile(path(QStringLiteral("cache/vantrel"))).open(QIODevice::WriteOnly)); // no folder can stand there
    const auto document = unpackHelpDocument();
    ASSERT_FALSE(document);
    EXPECT_TRUE(document.error().text().startsWith(
        QStringLiteral("mkpath() of %1").arg(path(QStringLiteral("cache/vantrel/help")))))
        << qPrintable(document.error().text());
}

TEST_F(HelpDocumentTest, TellsWhichFileCannotBeWritten) {
    const auto document = unpackHelpDocument();
    ASSERT_TRUE(document);
    ASSERT_TRUE(QFile::remove(*document));
    ASSERT_TRUE(QDir().mkpath(*document)); // a folder in its place
    const auto again = unpackHelpDocument();
    ASSERT_FALSE(again);
    EXPECT_TRUE(again.error().text().startsWith(QStringLiteral("write() of %1: ").arg(*document)))
        << qPrintable(again.error().text());
}

} // namespace
} // namespace vantrel::testing
