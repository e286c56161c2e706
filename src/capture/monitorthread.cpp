#include "monitorthread.h"

#include "vrel_cfg.h"

void monitorThread::run()
{
    Q_UNUSED(mutex_);
    // No exit test: the heartbeat lasts as long as the process.
    for (;;) {
        __atomic_store_n(&cfg->monitor_mark, uint16_t(1), __ATOMIC_RELAXED);
        emit plotInfo(cfg);
        QThread::msleep(static_cast<unsigned long>(interval));
    }
}
