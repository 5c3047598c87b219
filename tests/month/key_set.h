// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <QString>

namespace velmora::testing
{

/// Keys that are kept for ever, and take little memory for it: a program is measured in the same process. Of each it
/// holds 64 bits of a hash. Two of 10,000 keys have the same with a probability of 3 in 10^12; the second one then
/// passes for the first.
class KeySet
{
public:
    void insert(const QString &key) { m_hashes.insert(hashOf(key)); }
    void remove(const QString &key) { m_hashes.remove(hashOf(key)); }
    [[nodiscard]] bool contains(const QString &key) const { return m_hashes.contains(hashOf(key)); }

private:
    static_assert(sizeof(std::size_t) == 8);
    /// A seed of its own, so that the same keys collide in each replay.
    [[nodiscard]] static std::size_t hashOf(const QString &key) { return qHash(key, 43); }

    QSet<std::size_t> m_hashes;
};

} // namespace velmora::testing
