// SPDX-License-Identifier: MIT
#include "platform/file_preferences.h"

#include "platform/file_watch.h"
#include "platform/preferences_file.h"

#include <QFileInfo>
#include <QMetaObject>
#include <QPointer>
#include <QSet>
#include <QThreadPool>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds kPatienceAtStart = 300ms;
constexpr std::chrono::milliseconds kPatience = 5s;

} // namespace

/// What is known of the file, the changes that are not in it yet, and the one exchange under way.
/// Belongs to the main thread; the exchange itself is a value of its own while a worker has it.
class FilePreferences::Storage
{
public:
    Storage(FilePreferences *owner, const QString &path)
        : m_owner(owner)
        , m_path(path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath())
        , m_watch(m_path)
    {
        if (m_path.isEmpty()) {
            earlyFailures.append(QStringLiteral("There is no home folder: the settings are not kept."));
            return;
        }
        m_pool.setMaxThreadCount(1);
        QObject::connect(&m_watch, &FileWatch::changed, owner, [this] { readIfChanged(); });
        PreferencesExchange first;
        exchange(m_path, kPatienceAtStart, first);
        m_stored = first.content.value_or(QJsonObject());
        m_stamp = first.stamp;
        earlyFailures = first.failures;
        m_watch.renew();
    }

    [[nodiscard]] QJsonValue json(const QString &key) const
    {
        const auto pending = m_pending.constFind(key);
        return pending == m_pending.constEnd() ? m_stored.value(key) : *pending;
    }

    /// Undefined removes the key.
    void change(const QString &key, const QJsonValue &value)
    {
        if (json(key) == value)
            return;
        m_pending.insert(key, value);
        m_isWriteDue = true;
        // Everything that is set in one turn of the event loop is written together.
        QMetaObject::invokeMethod(
            m_owner, [this] { startWriting(); }, Qt::QueuedConnection);
        Q_EMIT m_owner->changed(key);
    }

    void noticeRead()
    {
        if (!m_path.isEmpty() && !m_running && !m_watch.isSettling() && FileStamp::of(m_path) != m_stamp)
            m_watch.settle();
    }

    void flush()
    {
        const QPointer<FilePreferences> owner(m_owner);
        finish();
        if (!owner)
            return;
        m_isWriteDue = true;
        startWriting();
        finish();
    }

    QStringList earlyFailures;

private:
    void startWriting()
    {
        if (m_path.isEmpty() || m_running || !m_isWriteDue || m_pending.isEmpty())
            return;
        m_isWriteDue = false;
        start(m_pending);
    }

    void readIfChanged()
    {
        if (!m_running && FileStamp::of(m_path) != m_stamp)
            start({});
    }

    void start(const QMap<QString, QJsonValue> &changes)
    {
        m_running = std::make_shared<PreferencesExchange>();
        m_running->changes = changes;
        m_running->lastKnown = m_stored;
        // The owner waits for the pool before it goes, so it is there when the worker ends.
        m_pool.start([this, owner = m_owner, path = m_path, running = m_running] {
            exchange(path, kPatience, *running);
            QMetaObject::invokeMethod(
                owner, [this, running] { take(running); }, Qt::QueuedConnection);
        });
    }

    /// Waits for the exchange under way.
    void finish()
    {
        m_pool.waitForDone();
        take(m_running);
    }

    // By value: it is often m_running itself that is passed.
    void take(std::shared_ptr<PreferencesExchange> done)
    {
        if (!done || done != m_running)
            return;
        m_running.reset();
        m_stamp = done->stamp;
        const QStringList keys = done->content ? adopt(*done) : QStringList();
        m_watch.renew();
        // What was set meanwhile; what failed waits for the next change, lest a full disk keeps us busy.
        startWriting();
        noticeRead();
        announce(keys, done->failures);
    }

    /// Takes over what the file holds; returns the keys whose value is another one now.
    QStringList adopt(const PreferencesExchange &done)
    {
        const QJsonObject before = m_stored;
        for (auto change = done.changes.begin(); change != done.changes.end(); ++change) {
            const auto pending = m_pending.constFind(change.key());
            if (pending != m_pending.constEnd() && *pending == *change)
                m_pending.erase(pending);
        }
        m_stored = *done.content;
        QStringList keys;
        const QStringList all = before.keys() + m_stored.keys();
        for (const QString &key : QSet<QString>(all.begin(), all.end())) {
            const bool isOwn = m_pending.contains(key) || done.changes.contains(key);
            if (!isOwn && before.value(key) != m_stored.value(key))
                keys.append(key);
        }
        keys.sort();
        return keys;
    }

    void announce(const QStringList &keys, const QStringList &failures)
    {
        // Whoever listens may delete the preferences.
        const QPointer<FilePreferences> owner(m_owner);
        for (const QString &key : keys) {
            if (owner)
                Q_EMIT owner->changed(key);
        }
        for (const QString &failure : failures) {
            if (owner)
                Q_EMIT owner->failed(failure);
        }
    }

    FilePreferences *m_owner;
    QString m_path;
    QJsonObject m_stored;
    FileStamp m_stamp;
    QMap<QString, QJsonValue> m_pending;
    bool m_isWriteDue = false;
    std::shared_ptr<PreferencesExchange> m_running;
    FileWatch m_watch;
    QThreadPool m_pool;
};

FilePreferences::FilePreferences(const QString &path, QObject *parent)
    : Preferences(parent)
    , m_storage(std::make_unique<Storage>(this, path))
{
}

FilePreferences::~FilePreferences()
{
    const QSignalBlocker silence(this);
    flush();
}

std::optional<Preferences::Value> FilePreferences::value(const QString &key) const
{
    m_storage->noticeRead();
    return preferenceFromJSON(m_storage->json(key));
}

void FilePreferences::setValue(const QString &key, const Value &value)
{
    m_storage->change(key, jsonFromPreference(value));
}

void FilePreferences::remove(const QString &key)
{
    m_storage->change(key, QJsonValue(QJsonValue::Undefined));
}

void FilePreferences::flush()
{
    m_storage->flush();
}

QStringList FilePreferences::earlyFailures() const
{
    return m_storage->earlyFailures;
}

} // namespace velmora
