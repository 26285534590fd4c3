// What the wheel shows: the operations of one mode, paged eight at a time, and which one the drag
// hovers. Every change is announced through `changed`, and the view repaints from it.
#pragma once

#include "FileOperation.h"
#include "Settings/ModifierKey.h"
#include "Settings/UILanguage.h"
#include "WheelMode.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <memory>
#include <optional>

namespace tramix {

class WheelModel : public QObject {
    Q_OBJECT
public:
    explicit WheelModel(QObject* parent = nullptr);

    WheelMode mode() const { return mode_; }
    ModifierKey key() const { return key_; }
    const QList<FileOperation>& operations() const { return operations_; }
    int page() const { return page_; }
    std::optional<int> hovered() const { return hovered_; }
    const QString& fileLabel() const { return fileLabel_; }
    bool visible() const { return visible_; }

    void setMode(WheelMode mode);
    void setKey(ModifierKey key);
    void setOperations(const QList<FileOperation>& operations);
    void setPage(int page);
    void setHovered(std::optional<int> hovered);
    void setFileLabel(const QString& label);
    void setVisible(bool visible);

    int pageCount() const;
    QList<FileOperation> pageOperations() const;
    std::optional<FileOperation> hoveredOperation() const;
    // The number of segments drawn and hit-tested on the current page.
    int slots() const;

    // Turns to the next page (wrapping) and forgets the hover; one page stays as it is.
    void nextPage();

    // The single file's name, or "{count} Dateien" ("{count} files") for several.
    static QString labelForFiles(const QStringList& paths, bool german = UILanguage::german());

    // A stand-alone wheel for illustrations: the catalogue's operations for a sample file (six
    // for the formats wheel), their ids beginning with "demo.", none of which can run.
    static std::unique_ptr<WheelModel> demo(WheelMode mode, const QString& file,
                                            Language language = UILanguage::current());

Q_SIGNALS:
    void changed();

private:
    template <typename T> void assign(T& field, const T& value);

    WheelMode mode_ = WheelMode::convert;
    ModifierKey key_ = ModifierKey::shift;
    QList<FileOperation> operations_;
    int page_ = 0;
    std::optional<int> hovered_;
    QString fileLabel_;
    bool visible_ = false;
};

} // namespace tramix
