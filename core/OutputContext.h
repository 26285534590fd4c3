// Where a job's results go and how good lossy results must be; every output name comes from here.
// It also carries what watches the job: its cancel switch and the current file's progress.
#pragma once

#include "NameReservation.h"

#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

class JobControl;

struct OutputContext {
    std::optional<QString> folder;                  // none: next to each input
    double quality = 0.85;                          // lossy quality, 0 to 1
    std::shared_ptr<const JobControl> control = {}; // none: the job cannot be cancelled
    // Told how far the one input of this call has come, 0 to 1, by converters whose single
    // files take long; called on the converter's thread.
    std::function<void(double fraction)> fileProgress = {};

    bool cancelled() const;
    void throwIfCancelled() const;
    void reportFraction(double fraction) const;

    // The folder for outputs of `input`.
    QString directory(const QString& input) const;

    // The name "{stem}[ {suffix}].{ext}" for the output of one input, reserved until the output
    // is committed under it; `ext` has no leading dot and may be compound ("tar.gz").
    NameReservation destination(const QString& input, const QString& ext,
                                const QString& suffix = QString()) const;

    // As `destination`, for an output whose whole file name is already known.
    NameReservation destinationNamed(const QString& name, const QString& near) const;

    // Creates a new folder for the many outputs of one input, under a name that nothing had
    // before, and returns its path. Throws ConversionError when the folder cannot be created.
    QString makeFolder(const QString& input, const QString& suffix = QString()) const;
};

// The name of an input without its extension; ".tar.gz" counts as one extension.
QString outputStem(const QString& input);

} // namespace tramix
