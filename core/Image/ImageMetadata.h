// The EXIF (with its TIFF and GPS parts), IPTC and XMP of an image, held as encoded blocks so
// that they can move between file formats that store them differently.
#pragma once

#include <QByteArray>
#include <QString>

namespace tramix {

class ImageMetadata {
public:
    // What the file carries; empty when it carries nothing or cannot be parsed.
    static ImageMetadata read(const QString& path);

    // No metadata at all, not even what an encoder adds on its own (its EXIF resolution block).
    static ImageMetadata none();

    bool isEmpty() const { return exif_.isEmpty() && iptc_.isEmpty() && xmp_.isEmpty(); }

    // Whether encoded files must be rewritten to carry exactly this: rewriting a large file
    // costs memory and time, so files with nothing to carry keep what the encoder wrote.
    bool needsWriting() const { return !isEmpty() || removesAll_; }
    bool hasExif() const { return !exif_.isEmpty(); }

    // For pixels that were turned upright and may have been resized: orientation 1 wherever it
    // is recorded, the pixel dimensions brought up to date, and no EXIF thumbnail (it would
    // still show the old orientation).
    ImageMetadata upright(int width, int height) const;

    // Only EXIF, TIFF, GPS, IPTC and the orientation: what compression keeps.
    ImageMetadata withoutXMP() const;

    // Replaces every EXIF, IPTC and XMP block of an encoded JPEG, PNG, WebP or TIFF file by
    // these; an empty value removes them. IPTC goes into the XMP where the format has no IPTC
    // block. The colour profile and the pixels stay as they are. Works in memory: exiv2 writing
    // a file itself would not report every failed write. Throws "Die Metadaten von „{name}“
    // konnten nicht geschrieben werden." where {name} is the last part of `destination`.
    QByteArray writtenInto(const QByteArray& encoded, const QString& destination) const;

    // The TIFF-structured EXIF block (as HEIF stores it) and an XMP packet that also carries
    // the IPTC; empty when there is none.
    QByteArray exifBlock() const { return exif_; }
    QByteArray xmpPacketWithIPTC() const;

    // True for the formats whose metadata `writtenInto` can replace.
    static bool canWriteInto(const QString& ext);

private:
    QByteArray exif_;
    QByteArray iptc_;
    QByteArray xmp_;
    bool removesAll_ = false;
};

} // namespace tramix
