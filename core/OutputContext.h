// Where a job's results go and how good lossy results must be; every output name comes from here.
#pragma once

#include "NameReservation.h"

#include <QString>
#include <optional>

namespace tramix {

struct OutputContext {
    std::optional<QString> folder; // none: next to each input
    double quality = 0.85;         // lossy quality, 0 to 1

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
