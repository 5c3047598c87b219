// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QHashFunctions>
#include <QList>

#include <memory>

namespace velmora
{

/// A deployment as lists hold it. Copies share the record, which never changes.
///
/// Beside it stands what lists are merged and ordered by: the records lie far apart in memory, and reading all of them
/// would take most of that work's time.
class SharedDeployment
{
public:
    /// Implicit: it stands for the record wherever one is read.
    SharedDeployment(DeploymentSnapshot record)
        : SharedDeployment(std::make_shared<const DeploymentSnapshot>(std::move(record)))
    {
    }
    explicit SharedDeployment(std::shared_ptr<const DeploymentSnapshot> record)
        : m_record(std::move(record))
        , m_idHash(qHash(m_record->id, QHashSeed::globalSeed()))
        , m_updatedAt(m_record->updatedAt)
        , m_state(m_record->state)
    {
    }

    operator const DeploymentSnapshot &() const { return *m_record; }
    const DeploymentSnapshot &operator*() const { return *m_record; }
    const DeploymentSnapshot *operator->() const { return m_record.get(); }

    [[nodiscard]] std::size_t idHash() const { return m_idHash; }
    [[nodiscard]] Instant updatedAt() const { return m_updatedAt; }
    [[nodiscard]] DeploymentState state() const { return m_state; }

    /// Whether both share one record.
    [[nodiscard]] bool isSharedWith(const SharedDeployment &other) const { return m_record == other.m_record; }

    friend bool operator==(const SharedDeployment &left, const SharedDeployment &right)
    {
        return left.isSharedWith(right) || *left == *right;
    }

private:
    std::shared_ptr<const DeploymentSnapshot> m_record;
    std::size_t m_idHash;
    Instant m_updatedAt;
    DeploymentState m_state;
};

using DeploymentList = QList<SharedDeployment>;

/// The list of these records. They are let go of together.
[[nodiscard]] DeploymentList sharedList(QList<DeploymentSnapshot> records);

/// The id of a deployment, as a key that is looked up without reading records of other ids.
struct DeploymentID {
    const SharedDeployment *deployment; ///< outlives the key

    friend bool operator==(DeploymentID left, DeploymentID right)
    {
        const auto &one = *left.deployment;
        const auto &other = *right.deployment;
        return one.idHash() == other.idHash() && (one.isSharedWith(other) || one->id == other->id);
    }
    friend std::size_t qHash(DeploymentID key, std::size_t seed = 0) { return key.deployment->idHash() ^ seed; }
};

} // namespace velmora

/// Lets lists grow by copying raw memory.
Q_DECLARE_TYPEINFO(velmora::SharedDeployment, Q_RELOCATABLE_TYPE);
