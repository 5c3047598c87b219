// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QHash>

#include <memory>

namespace velmora
{

/// Preferences in one JSON file that several processes may share.
///
/// The file is read at construction and again when another process has replaced it. Writing happens on a
/// thread of its own: under a lock, the changes made here are put into what the file holds by then,
/// and the file is replaced as a whole, only when that makes a difference. A file that cannot be
/// understood is renamed with the suffix ".damaged" (and a number when that is taken) before anything
/// is written, and failed() says so.
class FilePreferences final : public Preferences
{
    Q_OBJECT

public:
    /// `path` names the file; an empty one, of a person without a home, keeps everything in memory and is the
    /// first of earlyFailures(). The folder is made with the first write. Files are 0600, folders 0700.
    explicit FilePreferences(const QString &path, QObject *parent = nullptr);
    /// Waits for writes under way.
    ~FilePreferences() override;

    [[nodiscard]] std::optional<Value> value(const QString &key) const override;
    void setValue(const QString &key, const Value &value) override;
    void remove(const QString &key) override;

    /// Waits until everything set so far is on the disk, or has failed. Blocks; for the end of the program.
    void flush();

    /// Messages of failures that happened before anybody could listen to failed().
    [[nodiscard]] QStringList earlyFailures() const;

private:
    class Storage;
    std::unique_ptr<Storage> m_storage;
};

} // namespace velmora
