// The notes of the information window in the desktop's own look. The notes are rich text
// written once, with a font, sizes and colours of their own; shown as written they ignore the
// person's font and size, and their grey paragraphs vanish on a dark palette. So after
// loading, every run of text takes the view's font family, keeps only its size relative to
// the body text, and takes the palette's text colour (links the palette's link colour), each
// moved as far as needed to stand at least 4.5:1 against the view's background. It follows
// later changes of the palette and the font.
#pragma once

#include <QObject>

class QTextEdit;

class KSNotesAppearance : public QObject
{
    Q_OBJECT

public:
    // Applies the look to `view`'s document now and whenever the view's palette or font
    // changes; lives as long as the view (it is the view's child).
    static void follow(QTextEdit *view);

    // Applies the look once.
    static void apply(QTextEdit *view);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    explicit KSNotesAppearance(QTextEdit *view);
};
