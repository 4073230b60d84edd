#include "WaitLock.h"

#include <string.h>

#include "ScannerLog.h"

// pthread calls return their error number instead of setting errno; that number is reported.
#define WAITLOCK_CHECK(call, message)                             \
    do {                                                          \
        int error = (call);                                       \
        if (error != 0) SF_LOGE(message, error, strerror(error)); \
    } while (0)

WaitLock::WaitLock() {
    // Process-private on purpose, and said so explicitly rather than left to the defaults.
    pthread_mutexattr_t mutexAttr;
    WAITLOCK_CHECK(pthread_mutexattr_init(&mutexAttr),
                   "[Wait lock] Unable to Iinitialize mutex attribute, Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_mutexattr_setpshared(&mutexAttr, PTHREAD_PROCESS_PRIVATE),
                   "[Wait lock] Unable to set privacy for mutex attribute, Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_mutex_init(&m_Mutex, &mutexAttr),
                   "[Wait lock] Unable to Iinitialize mutex[WaitLock], Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_mutexattr_destroy(&mutexAttr),
                   "[Wait lock] Unable to destroy mutex attribute, Error(%d) - %s\n");

    pthread_condattr_t condAttr;
    WAITLOCK_CHECK(pthread_condattr_init(&condAttr),
                   "[Wait lock] Unable to Iinitialize condition attribute, Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_condattr_setpshared(&condAttr, PTHREAD_PROCESS_PRIVATE),
                   "[Wait lock] Unable to set shared status in attribute, Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_cond_init(&m_Condition, &condAttr),
                   "[Wait lock] Unable to Iinitialize condition[WaitLock], Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_condattr_destroy(&condAttr),
                   "[Wait lock] Unable to destroy condition variable attribute, Error(%d) - %s\n");
}

WaitLock::~WaitLock() {
    WAITLOCK_CHECK(pthread_mutex_destroy(&m_Mutex),
                   "[~Wait lock] Unable to destroy mutex[WaitLock], Error(%d) - %s\n");
    WAITLOCK_CHECK(pthread_cond_destroy(&m_Condition),
                   "[~Wait lock] Unable to destroy condition[WaitLock], Error(%d) - %s\n");
}
