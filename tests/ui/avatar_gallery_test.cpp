// SPDX-License-Identifier: MIT
#include "ui/settings/accounts/avatar_gallery.h"

#include "support/await.h"
#include "support/fake_avatar_loading.h"
#include "support/test_main.h"
#include "ui/controls/avatar_view.h"
#include "ui/controls/symbols.h"
#include "ui/controls/tones.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kOne = QStringLiteral("https://example.com/1");
const QString kTwo = QStringLiteral("https://example.com/2");

QByteArray encoded(const QSize &size, const char *format = "PNG")
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

} // namespace

class AvatarGalleryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_loader = std::make_unique<FakeAvatarLoading>();
        m_loader->pictures.insert(kOne, encoded({300, 200}));
        m_gallery = std::make_unique<AvatarGallery>(m_loader.get());
    }

    void aPictureIsScaledToFit_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QSize>("size");
        QTest::newRow("large") << encoded({300, 200}) << QSize(100, 66);
        QTest::newRow("tall") << encoded({200, 400}) << QSize(50, 100);
        QTest::newRow("small") << encoded({40, 40}) << QSize(40, 40);
        QTest::newRow("JPEG") << encoded({200, 200}, "JPEG") << QSize(100, 100);
        QTest::newRow("a line") << encoded({4000, 1}) << QSize(100, 1);
    }

    void aPictureIsScaledToFit()
    {
        QFETCH(QByteArray, content);
        QFETCH(QSize, size);
        const QImage picture = decodedAvatar(content, 100);
        QVERIFY(std::abs(picture.width() - size.width()) <= 1);
        QVERIFY(std::abs(picture.height() - size.height()) <= 1);
    }

    void whatIsNoPictureOfAKnownKindIsNone_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("text") << QByteArray("not a picture");
        QTest::newRow("cut") << encoded({300, 300}).left(20);
        QTest::newRow("vector graphics") << QByteArray(
            "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
        QTest::newRow("bitmap") << encoded({30, 30}, "BMP");
        QTest::newRow("too wide") << encoded({4097, 1});
        QTest::newRow("too high") << encoded({1, 4097});
    }

    void whatIsNoPictureOfAKnownKindIsNone()
    {
        QFETCH(QByteArray, content);
        QVERIFY(decodedAvatar(content, 100).isNull());
    }

    void aPictureComesLaterAndIsAnnounced()
    {
        QSignalSpy changed(m_gallery.get(), &AvatarGallery::changed);
        m_gallery->setShown({kOne});
        QVERIFY(m_gallery->picture(kOne).isNull());
        QVERIFY(changed.wait());
        QVERIFY(!m_gallery->picture(kOne).isNull());
        QVERIFY(m_gallery->picture(kOne).width() <= AvatarGallery::kSide);
    }

    void aPictureIsAskedForOnce()
    {
        m_loader->isHolding = true;
        m_gallery->setShown({kOne});
        m_gallery->setShown({kOne});
        m_loader->release();
        QVERIFY(waitUntil([this] { return !m_gallery->picture(kOne).isNull(); }));
        m_gallery->setShown({kOne});
        QCOMPARE(m_loader->asked, QStringList{kOne});
    }

    void whatFailedIsAskedForAgainOnlyAfterARetry()
    {
        m_gallery->setShown({kTwo});
        drainEvents();
        m_gallery->setShown({kTwo});
        QCOMPARE(m_loader->asked.size(), 1);
        m_gallery->retry();
        m_gallery->setShown({kTwo});
        QCOMPARE(m_loader->asked.size(), 2);
    }

    void whatCannotBeDecodedHasFailed()
    {
        m_loader->pictures.insert(kTwo, "not a picture");
        QSignalSpy changed(m_gallery.get(), &AvatarGallery::changed);
        m_gallery->setShown({kTwo, kOne});
        QVERIFY(changed.wait());
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
        QVERIFY(m_gallery->picture(kTwo).isNull());
        QCOMPARE(changed.size(), 1);
    }

    void whatIsNotShownAnyMoreIsForgotten()
    {
        m_gallery->setShown({kOne});
        QVERIFY(waitUntil([this] { return !m_gallery->picture(kOne).isNull(); }));
        m_gallery->setShown({});
        QVERIFY(m_gallery->picture(kOne).isNull());
    }

    void aPictureThatComesTooLateIsNotKept()
    {
        m_loader->isHolding = true;
        m_gallery->setShown({kOne});
        m_gallery->setShown({});
        m_loader->release();
        drainEvents();
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
        QVERIFY(m_gallery->picture(kOne).isNull());
    }

    void aGalleryThatIsGoneStopsItsLoads()
    {
        m_loader->isHolding = true;
        m_gallery->setShown({kOne});
        m_gallery.reset();
        QVERIFY(m_loader->stops.front().stop_requested());
        m_loader->release();
        drainEvents();
    }

    void withoutALoaderThereAreNoPictures()
    {
        AvatarGallery gallery(nullptr);
        gallery.setShown({kOne});
        QVERIFY(gallery.picture(kOne).isNull());
    }

    void aPictureIsRound()
    {
        AvatarView view(36);
        view.resize(36, 36);
        view.setPicture(decodedAvatar(encoded({100, 100}), 100));
        QVERIFY(view.hasPicture());
        QImage image(36, 36, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view.render(&image, {}, {}, QWidget::DrawChildren);
        QCOMPARE(image.pixelColor(18, 18), QColor(Qt::red));
        for (const QPoint &corner : {QPoint(0, 0), QPoint(35, 0), QPoint(0, 35), QPoint(35, 35)})
            QCOMPARE(image.pixelColor(corner).alpha(), 0);
    }

    void aPictureThatIsNotSquareIsShownWhole()
    {
        AvatarView view(36);
        view.resize(36, 36);
        view.setPicture(decodedAvatar(encoded({100, 50}), 100));
        QImage image(36, 36, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view.render(&image, {}, {}, QWidget::DrawChildren);
        QCOMPARE(image.pixelColor(18, 18), QColor(Qt::red));
        QVERIFY(image.pixelColor(18, 4) != QColor(Qt::red));
    }

    void aSymbolStandsInForWhatIsNotThere()
    {
        AvatarView view(36);
        view.resize(36, 36);
        QImage image(36, 36, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view.render(&image, {}, {}, QWidget::DrawChildren);
        QCOMPARE(image.pixelColor(18, 2).rgb(), toneColour(Tone::Secondary, view.palette()).rgb());
        view.setPicture(decodedAvatar(encoded({100, 100}), 100));
        view.setPicture(QImage());
        QVERIFY(!view.hasPicture());
    }

private:
    std::unique_ptr<FakeAvatarLoading> m_loader;
    std::unique_ptr<AvatarGallery> m_gallery;
};

VELMORA_WIDGET_TEST(AvatarGalleryTest)
#include "avatar_gallery_test.moc"
