#pragma once

#include "FileItem.h"
#include "ScanEngine.h"
#include "ScanRoots.h"
#include "platform/Clock.h"
#include "platform/FileReveal.h"
#include "platform/ToolRunner.h"
#include "platform/Trash.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QThread;

/// The model behind the cleaner screen: a five-phase scan of the user's disk on
/// one worker thread, the recommendations, removal to the Trash and reveal in the file manager.
/// Published values change on the main thread only; the worker posts each phase's message and
/// progress, then its result, in the order the phases run.
class DiskScanner : public QObject {
    Q_OBJECT

    Q_PROPERTY(double scanProgress READ scanProgress NOTIFY scanProgressChanged)
    Q_PROPERTY(QString scanMessage READ scanMessage NOTIFY scanMessageChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    /// The lists as the screens read them: maps with the fields of FileItem.
    Q_PROPERTY(QVariantList heavyApps READ heavyAppsForView NOTIFY heavyAppsChanged)
    Q_PROPERTY(QVariantList heavyFiles READ heavyFilesForView NOTIFY heavyFilesChanged)
    Q_PROPERTY(QVariantList heavyFolders READ heavyFoldersForView NOTIFY heavyFoldersChanged)
    Q_PROPERTY(QVariantList heavyMedia READ heavyMediaForView NOTIFY heavyMediaChanged)
    Q_PROPERTY(
        QVariantList recommendations READ recommendationsForView NOTIFY recommendationsChanged)
    /// One line after a removal that left items where they were because their file system has
    /// no Trash this user may use; empty otherwise.
    Q_PROPERTY(QString removalProblem READ removalProblem NOTIFY removalProblemChanged)

public:
    using Console = ScanEngine::Console;

    /// Everything the scanner reaches outside itself.
    struct Dependencies {
        ScanRoots roots;
        std::unique_ptr<platform::ToolRunner> runner; ///< used on the worker thread only
        std::unique_ptr<platform::Trash> trash;
        std::unique_ptr<platform::FileReveal> reveal;
        platform::Clock *clock = nullptr;
        Console console; ///< standard output when empty
        ScanEngine::Options options;
    };

    /// This user's folders and the real tools.
    explicit DiskScanner(QObject *parent = nullptr);
    explicit DiskScanner(Dependencies dependencies, QObject *parent = nullptr);
    /// Ends the running scans' walks and waits for their workers (at most for a running du).
    ~DiskScanner() override;

    [[nodiscard]] double scanProgress() const { return m_scanProgress; }
    [[nodiscard]] QString scanMessage() const { return m_scanMessage; }
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] const QList<FileItem> &heavyApps() const { return m_heavyApps; }
    [[nodiscard]] const QList<FileItem> &heavyFiles() const { return m_heavyFiles; }
    [[nodiscard]] const QList<FileItem> &heavyFolders() const { return m_heavyFolders; }
    [[nodiscard]] const QList<FileItem> &heavyMedia() const { return m_heavyMedia; }
    [[nodiscard]] const QList<FileItem> &recommendations() const { return m_recommendations; }
    [[nodiscard]] QString removalProblem() const { return m_removalProblem; }
    /// Caches, logs, downloads, temporary folder, as a scan uses them (an unusable one empty).
    [[nodiscard]] QStringList safeCleanupDirectories() const;
    [[nodiscard]] const ScanRoots &roots() const { return m_roots; }

    /// Starts a scan and returns at once. A call while a scan runs starts another one beside it
    /// (the screen disables its button meanwhile); each publishes its phases as they end.
    Q_INVOKABLE virtual void scanDeepDisk();
    /// Moves each path to the Trash in turn and calls completion once, on this thread, with the
    /// bytes freed (each item's own size attribute, so a folder counts only its entry). Failures
    /// print "Delete error: " and the reason, and count nothing. A path the scan listed moves
    /// only while it is still the file the scan saw.
    void deleteItems(const QStringList &paths, const std::function<void(qint64)> &completion);
    /// deleteItems() for the screens: returns the freed total.
    Q_INVOKABLE qint64 deleteItems(const QStringList &paths);
    /// The same for listed items named by their ids, which tell apart two items whose names
    /// show alike (bytes that are not UTF-8 next to a real U+FFFD). Returns the freed total.
    Q_INVOKABLE qint64 deleteItemsById(const QStringList &ids);
    /// Shows the item in the file manager.
    Q_INVOKABLE virtual void openInFinder(const QString &path);
    /// The size format of the cleaner, for the screens.
    Q_INVOKABLE [[nodiscard]] QString formatSize(double bytes) const;

Q_SIGNALS:
    void scanProgressChanged();
    void scanMessageChanged();
    void isScanningChanged();
    void heavyAppsChanged();
    void heavyFilesChanged();
    void heavyFoldersChanged();
    void heavyMediaChanged();
    void recommendationsChanged();
    void removalProblemChanged();

protected:
    // Main thread only; also for test doubles that publish states without scanning.
    void setScanProgress(double value);
    void setScanMessage(const QString &value);
    void setIsScanning(bool value);
    void setHeavyApps(QList<FileItem> items);
    void setHeavyFiles(QList<FileItem> items);
    void setHeavyFolders(QList<FileItem> items);
    void setHeavyMedia(QList<FileItem> items);
    void setRecommendations(QList<FileItem> items);

private:
    void runScan(); // on the worker thread
    template <typename Function>
    void post(Function &&function);
    void updateProgress(const QString &message, double progress);
    [[nodiscard]] const FileItem *listedItem(const std::function<bool(const FileItem &)> &is) const;
    /// Moves one item and returns the bytes freed, or prints the error and returns nothing;
    /// the name of an item its file system has no Trash for goes to withoutTrash.
    std::optional<qint64> remove(const platform::Trash::Item &item, const QString &shown,
                                 QStringList &withoutTrash);
    void setRemovalProblem(const QStringList &withoutTrash);

    [[nodiscard]] QVariantList heavyAppsForView() const { return m_heavyAppsView; }
    [[nodiscard]] QVariantList heavyFilesForView() const { return m_heavyFilesView; }
    [[nodiscard]] QVariantList heavyFoldersForView() const { return m_heavyFoldersView; }
    [[nodiscard]] QVariantList heavyMediaForView() const { return m_heavyMediaView; }
    [[nodiscard]] QVariantList recommendationsForView() const { return m_recommendationsView; }

    const ScanRoots m_roots;
    std::unique_ptr<platform::ToolRunner> m_runner;
    std::unique_ptr<platform::Trash> m_trash;
    std::unique_ptr<platform::FileReveal> m_reveal;
    platform::Clock &m_clock;
    Console m_console;
    ScanEngine::Options m_options;

    double m_scanProgress = 0;
    QString m_scanMessage;
    bool m_isScanning = false;
    QList<FileItem> m_heavyApps;
    QList<FileItem> m_heavyFiles;
    QList<FileItem> m_heavyFolders;
    QList<FileItem> m_heavyMedia;
    QList<FileItem> m_recommendations;
    QVariantList m_heavyAppsView;
    QVariantList m_heavyFilesView;
    QVariantList m_heavyFoldersView;
    QVariantList m_heavyMediaView;
    QVariantList m_recommendationsView;
    QString m_removalProblem;

    std::atomic<bool> m_stop{false};
    std::vector<std::unique_ptr<QThread>> m_workers;
};
