#pragma once

#include "platform/FuseBridge.h"

#include <condition_variable>
#include <mutex>

// A FUSE bridge set by the test: its health, why a restart is refused, and what a restart does (by default
// it succeeds and makes the bridge healthy). setHanging() makes health() block, as a stat() on a hung FUSE
// folder does, until it is released. Thread-safe (the watchdog calls it on a thread of its own).
class FakeFuseBridge : public FuseBridge
{
public:
    explicit FakeFuseBridge(QString folder = QStringLiteral("/run/user/1000/gvfs"));
    ~FakeFuseBridge() override;

    void setHealth(Health health);
    void setRestartRefusal(const QString &refusal);
    // A restart that fails with `failure` (empty: restarts succeed again).
    void setRestartFailure(const QString &failure);
    void setHanging(bool hanging);
    int restartCount() const;
    bool lastRestartDetached() const; // the last restart was asked to detach a dead mount

    QString folder() const override { return m_folder; }
    QString restartRefusal() const override;
    Health health() override;
    RestartResult restart(bool detachDeadMount) override;

private:
    const QString m_folder;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    Health m_health = Health::Healthy;
    QString m_refusal;
    QString m_failure;
    bool m_hanging = false;
    int m_restarts = 0;
    bool m_lastDetached = false;
};
