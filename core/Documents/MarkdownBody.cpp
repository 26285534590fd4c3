#include "MarkdownBody.h"

#include "HTMLEntity.h"
#include "LinkAddress.h"

#include <algorithm>
#include <limits>
#include <md4c.h>
#include <new>
#include <vector>

namespace tramix::MarkdownBody {

namespace {

constexpr unsigned dialect = MD_FLAG_NOHTML | MD_FLAG_TABLES | MD_FLAG_STRIKETHROUGH |
                             MD_FLAG_TASKLISTS | MD_FLAG_PERMISSIVEAUTOLINKS;

void appendEscaped(QByteArray& out, QByteArrayView text) {
    for (const char c : text) {
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '"':
            out.append("&quot;");
            break;
        default:
            out.append(c);
        }
    }
}

// An attribute's text with its character references resolved where we know them; others stay
// as written and are escaped later, so a reader shows them literally instead of resolving them
// behind our back (a hidden "&colon;" cannot turn an address into a script).
QByteArray attributeText(const MD_ATTRIBUTE& attribute) {
    QByteArray text;
    for (int i = 0; attribute.substr_offsets[i] < attribute.size; ++i) {
        const MD_OFFSET begin = attribute.substr_offsets[i];
        const QByteArrayView part(attribute.text + begin, attribute.substr_offsets[i + 1] - begin);
        if (attribute.substr_types[i] == MD_TEXT_NULLCHAR)
            text.append("\xEF\xBF\xBD");
        else if (attribute.substr_types[i] == MD_TEXT_ENTITY)
            text.append(HTMLEntity::decoded(part).value_or(part.toByteArray()));
        else
            text.append(part);
    }
    return text;
}

// How a link or image span was written, so its end can match it.
enum class SpanForm { Tagged, Plain, InsideAlt };

class Writer {
public:
    QByteArray out;

    void enterBlock(MD_BLOCKTYPE type, void* detail) {
        // A block inside a tight list item starts on a line of its own, after the item's text.
        if (!out.isEmpty() && !out.endsWith('\n'))
            out.append('\n');
        switch (type) {
        case MD_BLOCK_DOC:
            break;
        case MD_BLOCK_QUOTE:
            out.append("<blockquote>\n");
            break;
        case MD_BLOCK_UL:
            out.append("<ul>\n");
            break;
        case MD_BLOCK_OL:
            enterOrderedList(*static_cast<MD_BLOCK_OL_DETAIL*>(detail));
            break;
        case MD_BLOCK_LI:
            enterItem(*static_cast<MD_BLOCK_LI_DETAIL*>(detail));
            break;
        case MD_BLOCK_HR:
            out.append("<hr />\n");
            break;
        case MD_BLOCK_H:
            out.append("<h").append(char('0' + static_cast<MD_BLOCK_H_DETAIL*>(detail)->level));
            out.append('>');
            break;
        case MD_BLOCK_CODE:
            enterCode(*static_cast<MD_BLOCK_CODE_DETAIL*>(detail));
            break;
        case MD_BLOCK_HTML:
            break;
        case MD_BLOCK_P:
            out.append("<p>");
            break;
        case MD_BLOCK_TABLE:
            out.append("<table>\n");
            break;
        case MD_BLOCK_THEAD:
            out.append("<thead>\n");
            break;
        case MD_BLOCK_TBODY:
            out.append("<tbody>\n");
            break;
        case MD_BLOCK_TR:
            out.append("<tr>\n");
            break;
        case MD_BLOCK_TH:
            enterCell("th", static_cast<MD_BLOCK_TD_DETAIL*>(detail)->align);
            break;
        case MD_BLOCK_TD:
            enterCell("td", static_cast<MD_BLOCK_TD_DETAIL*>(detail)->align);
            break;
        }
    }

    void leaveBlock(MD_BLOCKTYPE type, void* detail) {
        closeOpenSpans();
        switch (type) {
        case MD_BLOCK_DOC:
            break;
        case MD_BLOCK_QUOTE:
            out.append("</blockquote>\n");
            break;
        case MD_BLOCK_UL:
            out.append("</ul>\n");
            break;
        case MD_BLOCK_OL:
            out.append("</ol>\n");
            break;
        case MD_BLOCK_LI:
            out.append("</li>\n");
            break;
        case MD_BLOCK_HR:
            break;
        case MD_BLOCK_H:
            out.append("</h").append(char('0' + static_cast<MD_BLOCK_H_DETAIL*>(detail)->level));
            out.append(">\n");
            break;
        case MD_BLOCK_CODE:
            out.append("</code></pre>\n");
            break;
        case MD_BLOCK_HTML:
            break;
        case MD_BLOCK_P:
            out.append("</p>\n");
            break;
        case MD_BLOCK_TABLE:
            out.append("</table>\n");
            break;
        case MD_BLOCK_THEAD:
            out.append("</thead>\n");
            break;
        case MD_BLOCK_TBODY:
            out.append("</tbody>\n");
            break;
        case MD_BLOCK_TR:
            out.append("</tr>\n");
            break;
        case MD_BLOCK_TH:
            out.append("</th>\n");
            break;
        case MD_BLOCK_TD:
            out.append("</td>\n");
            break;
        }
    }

    void enterSpan(MD_SPANTYPE type, void* detail) {
        if (insideAlt()) {
            if (type == MD_SPAN_IMG)
                images_.push_back(SpanForm::InsideAlt);
            return;
        }
        switch (type) {
        case MD_SPAN_EM:
            out.append("<em>");
            break;
        case MD_SPAN_STRONG:
            out.append("<strong>");
            break;
        case MD_SPAN_A:
            enterLink(*static_cast<MD_SPAN_A_DETAIL*>(detail));
            break;
        case MD_SPAN_IMG:
            enterImage(*static_cast<MD_SPAN_IMG_DETAIL*>(detail));
            break;
        case MD_SPAN_CODE:
            out.append("<code>");
            break;
        case MD_SPAN_DEL:
            out.append("<del>");
            break;
        default:
            break;
        }
    }

    void leaveSpan(MD_SPANTYPE type, void* detail) {
        if (type == MD_SPAN_IMG) {
            leaveImage(*static_cast<MD_SPAN_IMG_DETAIL*>(detail));
            return;
        }
        if (insideAlt())
            return;
        switch (type) {
        case MD_SPAN_EM:
            out.append("</em>");
            break;
        case MD_SPAN_STRONG:
            out.append("</strong>");
            break;
        case MD_SPAN_A:
            // md4c may leave a link it never entered, as in "![]([)]()".
            if (links_.empty())
                break;
            if (links_.back() == SpanForm::Tagged)
                out.append("</a>");
            links_.pop_back();
            break;
        case MD_SPAN_CODE:
            out.append("</code>");
            break;
        case MD_SPAN_DEL:
            out.append("</del>");
            break;
        default:
            break;
        }
    }

    void text(MD_TEXTTYPE type, QByteArrayView text) {
        switch (type) {
        case MD_TEXT_NULLCHAR:
            out.append("\xEF\xBF\xBD");
            break;
        case MD_TEXT_BR:
            out.append(insideAlt() ? "\n" : "<br />\n");
            break;
        case MD_TEXT_SOFTBR:
            out.append('\n');
            break;
        case MD_TEXT_ENTITY:
            appendEntity(text);
            break;
        default:
            appendEscaped(out, text); // raw HTML included: it is shown, never run
        }
    }

private:
    bool insideAlt() const { return std::ranges::find(images_, SpanForm::Tagged) != images_.end(); }

    void enterOrderedList(const MD_BLOCK_OL_DETAIL& list) {
        if (list.start == 1)
            out.append("<ol>\n");
        else
            out.append("<ol start=\"").append(QByteArray::number(list.start)).append("\">\n");
    }

    void enterItem(const MD_BLOCK_LI_DETAIL& item) {
        if (!item.is_task) {
            out.append("<li>");
            return;
        }
        const bool done = item.task_mark == 'x' || item.task_mark == 'X';
        out.append("<li class=\"task\"><input type=\"checkbox\" disabled");
        out.append(done ? " checked />" : " />");
    }

    void enterCode(const MD_BLOCK_CODE_DETAIL& code) {
        out.append("<pre><code");
        if (code.lang.size > 0) {
            out.append(" class=\"language-");
            appendEscaped(out, attributeText(code.lang));
            out.append('"');
        }
        out.append('>');
    }

    void enterCell(const char* tag, MD_ALIGN align) {
        out.append('<').append(tag);
        switch (align) {
        case MD_ALIGN_LEFT:
            out.append(" style=\"text-align:left\"");
            break;
        case MD_ALIGN_CENTER:
            out.append(" style=\"text-align:center\"");
            break;
        case MD_ALIGN_RIGHT:
            out.append(" style=\"text-align:right\"");
            break;
        case MD_ALIGN_DEFAULT:
            break;
        }
        out.append('>');
    }

    void appendTitle(const MD_ATTRIBUTE& title) {
        if (title.size == 0)
            return;
        out.append(" title=\"");
        appendEscaped(out, attributeText(title));
        out.append('"');
    }

    void enterLink(const MD_SPAN_A_DETAIL& link) {
        const std::optional<QByteArray> address = LinkAddress::live(attributeText(link.href));
        links_.push_back(address ? SpanForm::Tagged : SpanForm::Plain);
        if (!address)
            return;
        out.append("<a href=\"");
        appendEscaped(out, *address);
        out.append('"');
        appendTitle(link.title);
        out.append('>');
    }

    // The image's inner text becomes its alt attribute, without markup.
    void enterImage(const MD_SPAN_IMG_DETAIL& image) {
        const std::optional<QByteArray> address = LinkAddress::live(attributeText(image.src));
        images_.push_back(address ? SpanForm::Tagged : SpanForm::Plain);
        if (!address)
            return;
        out.append("<img src=\"");
        appendEscaped(out, *address);
        out.append("\" alt=\"");
    }

    void leaveImage(const MD_SPAN_IMG_DETAIL& image) {
        // md4c may leave an image it never entered, as in "[](![)]()".
        if (images_.empty())
            return;
        const SpanForm form = images_.back();
        images_.pop_back();
        if (form != SpanForm::Tagged)
            return;
        out.append('"');
        appendTitle(image.title);
        out.append(" />");
    }

    // md4c may end a block without leaving an image or link it entered, as in "![<\ns:](>)":
    // the alt attribute and the link end with the block.
    void closeOpenSpans() {
        for (; !images_.empty(); images_.pop_back()) {
            if (images_.back() == SpanForm::Tagged)
                out.append("\" />");
        }
        for (; !links_.empty(); links_.pop_back()) {
            if (links_.back() == SpanForm::Tagged)
                out.append("</a>");
        }
    }

    void appendEntity(QByteArrayView reference) {
        if (const std::optional<QByteArray> text = HTMLEntity::decoded(reference))
            appendEscaped(out, *text);
        else
            out.append(reference); // a named reference that any HTML reader resolves
    }

    std::vector<SpanForm> links_;
    std::vector<SpanForm> images_;
};

Writer& writer(void* userdata) {
    return *static_cast<Writer*>(userdata);
}

} // namespace

QString toHTML(const QString& markdown) {
    MD_PARSER parser{};
    parser.flags = dialect;
    parser.enter_block = [](MD_BLOCKTYPE type, void* detail, void* userdata) {
        writer(userdata).enterBlock(type, detail);
        return 0;
    };
    parser.leave_block = [](MD_BLOCKTYPE type, void* detail, void* userdata) {
        writer(userdata).leaveBlock(type, detail);
        return 0;
    };
    parser.enter_span = [](MD_SPANTYPE type, void* detail, void* userdata) {
        writer(userdata).enterSpan(type, detail);
        return 0;
    };
    parser.leave_span = [](MD_SPANTYPE type, void* detail, void* userdata) {
        writer(userdata).leaveSpan(type, detail);
        return 0;
    };
    parser.text = [](MD_TEXTTYPE type, const MD_CHAR* text, MD_SIZE size, void* userdata) {
        writer(userdata).text(type, QByteArrayView(text, size));
        return 0;
    };
    const QByteArray source = markdown.toUtf8();
    // The parser counts in 32 bits and fails only when memory runs out.
    if (source.size() > qsizetype(std::numeric_limits<MD_SIZE>::max()))
        throw std::bad_alloc();
    Writer output;
    if (md_parse(source.constData(), MD_SIZE(source.size()), &parser, &output) != 0)
        throw std::bad_alloc();
    return QString::fromUtf8(output.out);
}

} // namespace tramix::MarkdownBody
