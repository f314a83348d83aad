#include "FakeDiskScanner.h"
#include "FakeTrash.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "SyntheticHome.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "app/AppContext.h"
#include "cleaner/CleanerRules.h"
#include "cleaner/DiskScanner.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

FileItem item(const QString &name, const QString &path, qint64 size, QStringList reasons = {})
{
    FileItem file;
    file.name = name;
    file.path = path;
    file.size = size;
    file.sizeFormatted = CleanerRules::formatSize(size);
    file.type = reasons.isEmpty() ? u"folder"_s : u"cleanup"_s;
    file.recommended = !reasons.isEmpty();
    file.reasons = std::move(reasons);
    return file;
}

} // namespace

// The cleaner screen in the real window, offscreen, with a fake scanner.
class TestCleanerView : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<SyntheticHome> m_tree;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<AppContext> m_context;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QuickDriver> m_driver;
    FakeDiskScanner *m_scanner = nullptr;
    FakeTrash *m_trash = nullptr;
    FakeReveal *m_reveal = nullptr;

    void openCleaner()
    {
        QVERIFY(TestFiles::write(m_folder->filePath(u"config.json"_s),
                                 R"({"firstRunComplete":true,"installDate":1})"));
        DiskScanner::Dependencies dependencies;
        dependencies.roots = m_tree->roots();
        auto trash = std::make_unique<FakeTrash>();
        m_trash = trash.get();
        dependencies.trash = std::move(trash);
        auto reveal = std::make_unique<FakeReveal>();
        m_reveal = reveal.get();
        dependencies.reveal = std::move(reveal);
        dependencies.console = [](const QString &) {};
        auto scanner = std::make_unique<FakeDiskScanner>(std::move(dependencies));
        m_scanner = scanner.get();
        m_context = std::make_unique<AppContext>(m_folder->path(), *m_clock, std::move(scanner));
        m_engine = std::make_unique<QQmlEngine>();
        m_window.reset(m_context->createWindow(*m_engine));
        QVERIFY(m_window);
        m_driver = std::make_unique<QuickDriver>(m_window.get());
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QTRY_VERIFY(m_driver->item(u"tabCleaner"_s));
        m_driver->click(m_driver->item(u"tabCleaner"_s));
        QTRY_VERIFY(m_driver->item(u"scanButtonSection"_s));
    }

    [[nodiscard]] QQuickItem *shown(const QString &name) const { return m_driver->item(name); }

    [[nodiscard]] int visibleRows(QQuickItem *list) const
    {
        int rows = 0;
        std::function<void(QQuickItem *)> count = [&](QQuickItem *item) {
            if (!item->isVisible()) {
                return;
            }
            if (item->objectName() == u"categoryRow"_s) {
                ++rows;
            }
            const QList<QQuickItem *> children = item->childItems();
            for (QQuickItem *child : children) {
                count(child);
            }
        };
        count(list);
        return rows;
    }

    [[nodiscard]] QQuickItem *row(int index) const
    {
        return shown(u"recommendationRow"_s + QString::number(index));
    }

    QList<FileItem> threeRecommendations()
    {
        QList<FileItem> items;
        const qint64 mib = 1'048'576;
        int i = 0;
        for (const qint64 size : {3 * mib, 2 * mib, 1 * mib}) {
            const QString path = m_tree->path(u"Downloads/file%1.iso"_s.arg(++i));
            SyntheticHome::makeFileQuickly(path, size, m_clock->now());
            items.append(item(u"file%1.iso"_s.arg(i), path, size,
                              {u"Large download artifact"_s, u"Unused for 14+ days"_s}));
        }
        return items;
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_tree = std::make_unique<SyntheticHome>();
        m_clock = std::make_unique<ManualClock>();
    }

    void cleanup()
    {
        m_driver.reset();
        m_window.reset();
        m_engine.reset();
        m_context.reset();
        m_scanner = nullptr;
        m_clock.reset();
        m_tree.reset();
        m_folder.reset();
    }

    void beforeTheFirstScanOnlyTheScanSectionShows()
    {
        openCleaner();
        QVERIFY(m_driver->text(u"System Cleaner"_s));
        QVERIFY(m_driver->text(u"Deep scan to find large files and recommendations"_s));
        QVERIFY(m_driver->text(u"Start Deep Scan"_s));
        QVERIFY(!shown(u"scanningProgressView"_s));
        QVERIFY(!shown(u"recommendationsSection"_s));
        QVERIFY(!shown(u"largeApps"_s));
        QVERIFY(!shown(u"largeFolders"_s));
        QVERIFY(!shown(u"largeMedia"_s));
        QVERIFY(!shown(u"freedRow"_s));
    }

    void theScanButtonStartsOneScan()
    {
        openCleaner();
        QQuickItem *button = shown(u"scanButton"_s);
        QVERIFY(button->isEnabled());
        m_driver->click(button);
        QCOMPARE(m_scanner->scans, 1);
        QTRY_VERIFY(!button->isEnabled());
        m_driver->click(button);
        QCOMPARE(m_scanner->scans, 1);
        m_scanner->setIsScanning(false);
        QTRY_VERIFY(button->isEnabled());
    }

    // The progress view hides the previous scan's recommendations while a scan runs.
    void progressShowsTheTruncatedPercentageAndTheMessage()
    {
        openCleaner();
        m_scanner->setRecommendations(threeRecommendations());
        QTRY_VERIFY(shown(u"recommendationsSection"_s));
        m_scanner->setIsScanning(true);
        m_scanner->setScanProgress(42.9);
        m_scanner->setScanMessage(u"Finding media giants..."_s);
        QTRY_VERIFY(shown(u"scanningProgressView"_s));
        QCOMPARE(shown(u"scanProgressPercent"_s)->property("text").toString(), u"42%"_s);
        QCOMPARE(shown(u"scanMessage"_s)->property("text").toString(),
                 u"Finding media giants..."_s);
        QVERIFY(!shown(u"recommendationsSection"_s));
        QVERIFY(!shown(u"resultsSection"_s));
        const QQuickItem *bar = shown(u"progressBar"_s);
        const QQuickItem *fill = m_driver->anyItem(u"progressFill"_s);
        QVERIFY(qAbs(fill->width() - bar->width() * 0.429) < 1);

        m_scanner->setScanProgress(100);
        QCOMPARE(shown(u"scanProgressPercent"_s)->property("text").toString(), u"100%"_s);
        m_scanner->setIsScanning(false);
        QTRY_VERIFY(shown(u"recommendationsSection"_s));
        QVERIFY(!shown(u"scanningProgressView"_s));
    }

    void largeListsShowFiveRowsEach()
    {
        openCleaner();
        QList<FileItem> folders;
        for (int i = 0; i < 12; ++i) {
            folders.append(
                item(u"Folder %1"_s.arg(i), m_tree->path(u"F%1"_s.arg(i)), (200 - i) * 1'048'576));
        }
        m_scanner->setHeavyFolders(folders);
        m_scanner->setHeavyMedia(
            {item(u"movie.mkv"_s, m_tree->path(u"movie.mkv"_s), 5'000'000'000)});
        QTRY_VERIFY(shown(u"largeFolders"_s));
        QVERIFY(!shown(u"largeApps"_s));
        QVERIFY(shown(u"largeMedia"_s));
        QVERIFY(m_driver->text(u"Large Folders"_s));
        QVERIFY(m_driver->text(u"Large Media"_s));
        QCOMPARE(visibleRows(shown(u"largeFolders"_s)), 5);
        QCOMPARE(visibleRows(shown(u"largeMedia"_s)), 1);
        QVERIFY(m_driver->text(u"Folder 4"_s));
        QVERIFY(!m_driver->text(u"Folder 5"_s));
        QVERIFY(m_driver->text(u"200.00 MB"_s));
        QVERIFY(m_driver->text(u"4.66 GB"_s));
    }

    // Recommendations take precedence over the large-item lists, deliberately.
    void recommendationsHideTheLargeLists()
    {
        openCleaner();
        m_scanner->setHeavyApps({item(u"Game"_s, u"/snap/game"_s, 300'000'000)});
        m_scanner->setRecommendations(threeRecommendations());
        QTRY_VERIFY(shown(u"recommendationsSection"_s));
        QVERIFY(!shown(u"resultsSection"_s));
        QCOMPARE(shown(u"recommendationsCount"_s)->property("text").toString(), u"3 items"_s);
        QVERIFY(m_driver->text(u"Recommendations"_s));
        QTRY_VERIFY(row(2));
        QCOMPARE(QuickDriver::itemIn(row(0), u"itemName"_s)->property("text").toString(),
                 u"file1.iso"_s);
        QCOMPARE(QuickDriver::itemIn(row(0), u"itemReasons"_s)->property("text").toString(),
                 u"Large download artifact, Unused for 14+ days"_s);
        QCOMPARE(QuickDriver::itemIn(row(0), u"itemSize"_s)->property("text").toString(),
                 u"3.00 MB"_s);
    }

    // One item cannot be moved: the others' sizes are freed, the whole selection cleared, and
    // the moved items stay listed until the next scan.
    void movingTheSelectionToTheTrash()
    {
        openCleaner();
        const QList<FileItem> items = threeRecommendations();
        m_scanner->setRecommendations(items);
        m_trash->locked = {items.at(1).path};
        QTRY_VERIFY(row(2));
        QQuickItem *move = shown(u"moveToTrashButton"_s);
        QCOMPARE(move->property("text").toString(), u"Move to Trash (0)"_s);
        QVERIFY(!move->isEnabled());

        for (int i : {2, 0, 1}) {
            m_driver->click(QuickDriver::itemIn(row(i), u"selectButton"_s));
        }
        QCOMPARE(move->property("text").toString(), u"Move to Trash (3)"_s);
        QCOMPARE(QuickDriver::itemIn(row(0), u"selectButton"_s)->property("symbol").toString(),
                 u"checkmark.circle.fill"_s);
        // Toggling twice leaves an item unselected.
        m_driver->click(QuickDriver::itemIn(row(1), u"selectButton"_s));
        QCOMPARE(move->property("text").toString(), u"Move to Trash (2)"_s);
        QCOMPARE(QuickDriver::itemIn(row(1), u"selectButton"_s)->property("symbol").toString(),
                 u"circle"_s);
        m_driver->click(QuickDriver::itemIn(row(1), u"selectButton"_s));

        m_driver->click(move);
        QCOMPARE(m_trash->moved, (QStringList{items.at(0).path, items.at(2).path}));
        QTRY_VERIFY(shown(u"freedRow"_s));
        QCOMPARE(shown(u"freedText"_s)->property("text").toString(), u"Freed 4.00 MB"_s);
        QCOMPARE(move->property("text").toString(), u"Move to Trash (0)"_s);
        QCOMPARE(shown(u"recommendationsCount"_s)->property("text").toString(), u"3 items"_s);
        QVERIFY(row(0) && row(1) && row(2));
        QCOMPARE(QuickDriver::itemIn(row(0), u"selectButton"_s)->property("symbol").toString(),
                 u"circle"_s);
    }

    // An item with no Trash on its drive stays listed and the screen says so on one line; the
    // next removal that goes well takes the line away.
    void anItemWithoutATrashIsKeptAndNamed()
    {
        openCleaner();
        const QList<FileItem> items = threeRecommendations();
        m_scanner->setRecommendations(items);
        m_trash->withoutTrash = {items.at(0).path};
        QTRY_VERIFY(row(2));
        QVERIFY(!shown(u"removalProblemRow"_s));
        m_driver->click(QuickDriver::itemIn(row(0), u"selectButton"_s));
        m_driver->click(QuickDriver::itemIn(row(1), u"selectButton"_s));
        m_driver->click(shown(u"moveToTrashButton"_s));
        QCOMPARE(m_trash->moved, QStringList{items.at(1).path});
        QTRY_VERIFY(shown(u"removalProblemRow"_s));
        const QQuickItem *line = shown(u"removalProblemText"_s);
        QCOMPARE(line->property("text").toString(),
                 u"Not moved: file1.iso is on a drive without a Trash you can use"_s);
        QCOMPARE(line->property("lineCount").toInt(), 1);
        QCOMPARE(shown(u"freedText"_s)->property("text").toString(), u"Freed 2.00 MB"_s);
        QCOMPARE(shown(u"recommendationsCount"_s)->property("text").toString(), u"3 items"_s);
        QVERIFY(QFileInfo::exists(items.at(0).path));

        m_driver->click(QuickDriver::itemIn(row(2), u"selectButton"_s));
        m_driver->click(shown(u"moveToTrashButton"_s));
        QTRY_VERIFY(!shown(u"removalProblemRow"_s));
    }

    void revealShowsTheItem()
    {
        openCleaner();
        const QList<FileItem> items = threeRecommendations();
        m_scanner->setRecommendations(items);
        QTRY_VERIFY(row(1));
        m_driver->click(QuickDriver::itemIn(row(1), u"revealButton"_s));
        QCOMPARE(m_reveal->revealed, QStringList{items.at(1).path});
    }

    // The selection and the freed figure belong to the screen and survive a new scan.
    void selectionSurvivesAScan()
    {
        openCleaner();
        const QList<FileItem> items = threeRecommendations();
        m_scanner->setRecommendations(items);
        QTRY_VERIFY(row(2));
        m_driver->click(QuickDriver::itemIn(row(0), u"selectButton"_s));
        QCOMPARE(shown(u"moveToTrashButton"_s)->property("text").toString(),
                 u"Move to Trash (1)"_s);
        m_scanner->setIsScanning(true);
        m_scanner->setIsScanning(false);
        QTRY_VERIFY(shown(u"moveToTrashButton"_s));
        QCOMPARE(shown(u"moveToTrashButton"_s)->property("text").toString(),
                 u"Move to Trash (1)"_s);
    }
};

KV_TEST_MAIN(TestCleanerView)
#include "tst_cleanerview.moc"
