// SPDX-License-Identifier: MIT
#include "platform/file_preferences.h"

#include "platform/file_watch.h"
#include "platform/preferences_file.h"
#include "support/clock.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

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
constexpr std::chrono::milliseconds kFirstPause = 5s;
constexpr std::chrono::milliseconds kLongestPause = 5min;

} // namespace

/// The known content of the file, the changes that are not in it yet, and the one running update. Belongs to the main
/// thread. Worker threads touch only the update, which is a separate value.
class FilePreferences::Storage
{
public:
    Storage(FilePreferences *owner, Clock *clock, const QString &path)
        : m_owner(owner)
        , m_clock(clock)
        , m_path(path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath())
        , m_watch(m_path)
    {
        if (m_path.isEmpty()) {
            m_failure = QStringLiteral("There is no home folder: the settings are not kept.");
            return;
        }
        m_pool.setMaxThreadCount(1);
        QObject::connect(&m_watch, &FileWatch::changed, owner, [this] { readIfChanged(); });
        PreferencesUpdate first;
        applyChanges(m_path, kPatienceAtStart, first);
        m_stored = first.content.value_or(QJsonObject());
        m_hasRead = first.content.has_value();
        m_stamp = first.stamp;
        earlyDamage = first.damage;
        m_watch.renew();
        recordFailure(first.failure);
    }

    [[nodiscard]] QJsonValue json(const QString &key) const
    {
        const auto pending = m_pending.constFind(key);
        const QJsonValue value = pending == m_pending.constEnd() ? m_stored.value(key) : *pending;
        QJsonObject object;
        for (const ListStep &step : m_steps) {
            const auto change = step.changes.constFind(key);
            if (change == step.changes.constEnd())
                continue;
            if (object.isEmpty())
                object.insert(key, value);
            std::ignore = applyListChanges(object, ListChanges{{key, *change}});
        }
        return object.isEmpty() ? value : object.value(key);
    }

    /// The result is settled once the differences are known.
    OneShot<ListChanges> changeLists(const ListChanges &changes)
    {
        OneShot<ListChanges> done;
        QStringList changed;
        QJsonObject after;
        for (auto change = changes.begin(); change != changes.end(); ++change)
            after.insert(change.key(), json(change.key()));
        const QJsonObject before = after;
        const ListChanges differences = applyListChanges(after, changes);
        for (auto value = after.begin(); value != after.end(); ++value) {
            if (before.value(value.key()) != *value)
                changed.append(value.key());
        }
        if (m_path.isEmpty()) {
            for (const QString &key : std::as_const(changed))
                m_pending.insert(key, after.value(key));
            done.resolve(differences);
        } else {
            m_steps.append({changes, done});
            m_isWriteDue = true;
            QMetaObject::invokeMethod(
                m_owner, [this] { startWriting(); }, Qt::QueuedConnection);
        }
        announce(changed, {}, false);
        return done;
    }

    /// An undefined value removes the key.
    void change(const QString &key, const QJsonValue &value)
    {
        if (json(key) == value)
            return;
        m_pending.insert(key, value);
        m_isWriteDue = !m_path.isEmpty();
        // All changes of one turn of the event loop are written together.
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
        m_isWriteDue = !m_path.isEmpty() && hasChanges();
        startWriting();
        finish();
    }

    [[nodiscard]] const QString &failure() const { return m_failure; }
    [[nodiscard]] bool isSaving() const { return m_isWriteDue || m_isWriting; }

    QString earlyDamage;

private:
    /// A change of lists that is not in the file yet.
    struct ListStep {
        ListChanges changes;
        OneShot<ListChanges> done; ///< settled early if the file could not be written
    };

    [[nodiscard]] bool hasChanges() const { return !m_pending.isEmpty() || !m_steps.isEmpty(); }

    void startWriting()
    {
        if (m_running || !m_isWriteDue)
            return;
        m_isWriteDue = false;
        // A value that was changed and changed back during a write is in the file already.
        if (hasChanges())
            write();
    }

    void readIfChanged()
    {
        if (!m_running && FileStamp::of(m_path) != m_stamp)
            start({}, {});
    }

    void write()
    {
        QList<ListChanges> listChanges;
        for (const ListStep &step : std::as_const(m_steps))
            listChanges.append(step.changes);
        start(m_pending, listChanges);
    }

    void start(const QMap<QString, QJsonValue> &changes, const QList<ListChanges> &listChanges)
    {
        m_running = std::make_shared<PreferencesUpdate>();
        m_running->changes = changes;
        m_running->listChanges = listChanges;
        m_running->lastKnown = m_stored;
        m_running->yieldsToFile = !m_hasRead;
        m_isWriting = !changes.isEmpty() || !listChanges.isEmpty();
        // The owner's destructor waits for the pool, so `owner` is valid here.
        m_pool.start([this, owner = m_owner, path = m_path, running = m_running] {
            applyChanges(path, kPatience, *running);
            QMetaObject::invokeMethod(
                owner, [this, running] { take(running); }, Qt::QueuedConnection);
        });
    }

    /// Waits for the running update.
    void finish()
    {
        m_pool.waitForDone();
        take(m_running);
    }

    // By value, since finish() passes m_running, which is reset here.
    void take(std::shared_ptr<PreferencesUpdate> done)
    {
        if (!done || done != m_running)
            return;
        m_running.reset();
        m_isWriting = false;
        m_stamp = done->stamp;
        const QList<ListStep> steps = m_steps.first(done->listChanges.size());
        const QStringList keys = done->content ? adopt(*done) : QStringList();
        m_watch.renew();
        const bool isFailureNew = recordFailure(done->failure);
        // Writes changes set meanwhile. Failed changes wait for their retry, so that a full disk does not cause
        // constant writing.
        startWriting();
        noticeRead();
        const QPointer<FilePreferences> owner(m_owner);
        settle(steps, *done);
        if (owner)
            announce(keys, done->damage, isFailureNew);
    }

    /// Settles the steps with the differences that they made in the file or, if it failed, in the known content.
    static void settle(const QList<ListStep> &steps, const PreferencesUpdate &done)
    {
        QJsonObject known = done.lastKnown;
        for (qsizetype place = 0; place < steps.size(); ++place) {
            if (done.content)
                steps.at(place).done.resolve(done.differences.at(place));
            else
                steps.at(place).done.resolve(applyListChanges(known, steps.at(place).changes));
        }
    }

    /// Returns whether the failure has changed.
    bool recordFailure(const QString &failure)
    {
        if (failure.isEmpty()) {
            m_retries.cancelAll();
            m_isRetryDue = false;
            m_pause = kFirstPause;
        } else if (m_clock && !m_isRetryDue) {
            m_isRetryDue = true;
            m_retries.launch(retryAfterPause(m_retries.stopToken()), "Saving the settings again");
        }
        return std::exchange(m_failure, failure) != failure;
    }

    QCoro::Task<> retryAfterPause(std::stop_token stop)
    {
        const QPointer<FilePreferences> owner(m_owner);
        co_await m_clock->sleep(m_pause, stop);
        if (!owner)
            co_return;
        m_isRetryDue = false;
        m_pause = std::min(2 * m_pause, kLongestPause);
        // Without changes this reads again, since then the reading had failed.
        if (!m_running)
            write();
    }

    /// Adopts the content of the file. Returns the keys whose values have changed by it.
    QStringList adopt(const PreferencesUpdate &done)
    {
        const QJsonObject before = m_stored;
        const QMap<QString, QJsonValue> listsBefore = listsOf(done);
        m_steps.remove(0, done.listChanges.size());
        for (auto change = done.changes.begin(); change != done.changes.end(); ++change) {
            const auto pending = m_pending.constFind(change.key());
            if (pending != m_pending.constEnd() && *pending == *change)
                m_pending.erase(pending);
        }
        m_stored = *done.content;
        if (!std::exchange(m_hasRead, true))
            m_pending.removeIf([this](const auto &pending) { return m_stored.contains(pending.key()); });
        QStringList keys;
        const QStringList all = before.keys() + m_stored.keys();
        for (const QString &key : QSet<QString>(all.begin(), all.end())) {
            const bool isOwn = m_pending.contains(key) || done.changes.contains(key) || listsBefore.contains(key);
            if (!isOwn && before.value(key) != m_stored.value(key))
                keys.append(key);
        }
        for (auto list = listsBefore.begin(); list != listsBefore.end(); ++list) {
            if (json(list.key()) != *list)
                keys.append(list.key());
        }
        keys.sort();
        return keys;
    }

    /// The changed lists, with the values that were visible during the update.
    [[nodiscard]] QMap<QString, QJsonValue> listsOf(const PreferencesUpdate &done) const
    {
        QMap<QString, QJsonValue> lists;
        for (const ListChanges &changes : done.listChanges) {
            for (auto change = changes.begin(); change != changes.end(); ++change)
                lists.insert(change.key(), json(change.key()));
        }
        return lists;
    }

    void announce(const QStringList &keys, const QString &damage, bool isFailureNew)
    {
        // A slot may delete the preferences.
        const QPointer<FilePreferences> owner(m_owner);
        for (const QString &key : keys) {
            if (owner)
                Q_EMIT owner->changed(key);
        }
        if (owner && !damage.isEmpty())
            Q_EMIT owner->damageFound(damage);
        if (owner && isFailureNew)
            Q_EMIT owner->failureChanged();
        if (owner && !isSaving())
            Q_EMIT owner->settled();
    }

    FilePreferences *m_owner;
    Clock *m_clock;
    QString m_path;
    QJsonObject m_stored;
    FileStamp m_stamp;
    QMap<QString, QJsonValue> m_pending;
    QList<ListStep> m_steps;
    bool m_hasRead = false; ///< the file has been read at least once
    QString m_failure;
    bool m_isWriteDue = false;
    bool m_isWriting = false; ///< the running update has changes to write
    bool m_isRetryDue = false;
    std::chrono::milliseconds m_pause = kFirstPause; ///< before the next retry
    std::shared_ptr<PreferencesUpdate> m_running;
    FileWatch m_watch;
    QThreadPool m_pool;
    TaskScope m_retries;
};

FilePreferences::FilePreferences(const QString &path, Clock *clock, QObject *parent)
    : Preferences(parent)
    , m_storage(std::make_unique<Storage>(this, clock, path))
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

QCoro::Task<ListChanges> FilePreferences::changeLists(ListChanges changes)
{
    const OneShot<ListChanges> done = m_storage->changeLists(changes);
    auto differences = co_await done;
    co_return differences;
}

void FilePreferences::flush()
{
    m_storage->flush();
}

QString FilePreferences::failure() const
{
    return m_storage->failure();
}

bool FilePreferences::isSaving() const
{
    return m_storage->isSaving();
}

QString FilePreferences::earlyDamage() const
{
    return m_storage->earlyDamage;
}

} // namespace velmora
