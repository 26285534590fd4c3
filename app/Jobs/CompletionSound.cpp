#include "CompletionSound.h"

#include "Settings/DebugLog.h"

#include <QString>
#include <canberra.h>

namespace tramix {

CompletionSound::~CompletionSound() {
    if (context_)
        ca_context_destroy(context_);
}

bool CompletionSound::play() {
    if (unavailable_)
        return false;
    if (!context_) {
        // Opened on first use, so an app that never finishes a job never talks to the sound server.
        if (ca_context_create(&context_) != CA_SUCCESS) {
            context_ = nullptr;
            unavailable_ = true;
            return false;
        }
        ca_context_change_props(context_, CA_PROP_APPLICATION_NAME, "Tramix",
                                CA_PROP_APPLICATION_ID, "tramix", nullptr);
    }
    const int status = ca_context_play(context_, 0, CA_PROP_EVENT_ID, "complete",
                                       CA_PROP_EVENT_DESCRIPTION, "Tramix job finished", nullptr);
    if (status != CA_SUCCESS) {
        DebugLog::write(
            QStringLiteral("Ton nicht abgespielt: %1").arg(QString::fromUtf8(ca_strerror(status))));
        return false;
    }
    return true;
}

} // namespace tramix
