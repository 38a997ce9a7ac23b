#include "settings/inicheck.h"

#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace IniCheck {
namespace {

// Walks the data stream inside "@Variant(...)" (big-endian, Qt 4.0 layout: a type number, then the
// value) without allocating: every count and length must fit the bytes that are left.
class StreamReader
{
public:
    explicit StreamReader(const QByteArray &bytes) : data(bytes) {}

    // Hashes only at the top: QSettings stores presets and profiles as flat hashes.
    bool value(bool nested = false)
    {
        quint32 type;
        if (!number(type))
            return false;
        switch (type) {
        case 1: // bool
            return skip(1);
        case 2: // int
            return skip(4);
        case 10: // QString
            return string();
        case 28: // QVariantHash
            return !nested && hash();
        default:
            return false;
        }
    }

private:
    bool skip(quint32 bytes)
    {
        if (bytes > quint32(data.size() - pos))
            return false;
        pos += int(bytes);
        return true;
    }
    bool number(quint32 &n)
    {
        if (data.size() - pos < 4)
            return false;
        n = qFromBigEndian<quint32>(data.constData() + pos);
        pos += 4;
        return true;
    }
    bool string()
    {
        quint32 bytes;
        if (!number(bytes))
            return false;
        return bytes == 0xffffffff || (bytes % 2 == 0 && skip(bytes)); // all ones: a null string
    }
    // Each item takes at least eight bytes, so a huge count ends with the bytes.
    bool hash()
    {
        quint32 count;
        if (!number(count))
            return false;
        for (quint32 i = 0; i < count; ++i) {
            if (!string() || !value(true))
                return false;
        }
        return true;
    }

    const QByteArray &data;
    int pos = 0;
};

// False for a piece of a value that QSettings would decode from a data stream we cannot vouch for.
bool safeElement(const QString &element)
{
    if (!element.endsWith(QLatin1Char(')')))
        return true;
    if (element.startsWith(QLatin1String("@DateTime(")))
        return false; // never written by this program
    if (!element.startsWith(QLatin1String("@Variant(")))
        return true;
    const QByteArray bytes = element.midRef(9).toLatin1();
    return StreamReader(bytes).value();
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\f' || c == '\v';
}

// The pieces of a value as QSettings hands them on to be turned into values: split at commas
// outside quotes, escapes resolved, bytes taken as Latin-1, trailing blanks dropped unless quoted
// or written as escapes.
QStringList valueElements(const QByteArray &text, int i, int to)
{
    static const char escapes[][2] = {{'a', '\a'}, {'b', '\b'}, {'f', '\f'}, {'n', '\n'},
                                      {'r', '\r'}, {'t', '\t'}, {'v', '\v'}, {'"', '"'},
                                      {'?', '?'},   {'\'', '\''}, {'\\', '\\'}};
    QStringList elements;
    QString current;
    bool inQuotes = false;
    bool quoted = false;
    int chopLimit = 0;
    const auto skipBlanks = [&] {
        while (i < to && (text[i] == ' ' || text[i] == '\t'))
            ++i;
        chopLimit = current.size();
    };
    const auto chop = [&] {
        int n = current.size();
        while (!quoted && n > chopLimit && (current[n - 1] == QLatin1Char(' ') || current[n - 1] == QLatin1Char('\t')))
            --n;
        current.truncate(n);
    };

    skipBlanks();
    while (i < to) {
        const char c = text[i];
        if (c == '\\') {
            if (++i < to) {
                const char e = text[i++];
                const auto simple = std::find_if(std::begin(escapes), std::end(escapes),
                                                 [e](const char *pair) { return pair[0] == e; });
                const bool hex = e == 'x' && i < to && isHexDigit(text[i]);
                if (simple != std::end(escapes)) {
                    current += QLatin1Char((*simple)[1]);
                } else if (hex || (e >= '0' && e <= '7')) {
                    // Any number of digits; only the low 16 bits survive.
                    quint32 code = hex ? 0 : quint32(e - '0');
                    for (; i < to && (hex ? isHexDigit(text[i]) : (text[i] >= '0' && text[i] <= '7')); ++i) {
                        const char d = text[i];
                        code = code * (hex ? 16 : 8) + quint32(d <= '9' ? d - '0' : (d | 0x20) - 'a' + 10);
                    }
                    current += QChar(ushort(code & 0xffff));
                } // any other escaped character is dropped
            }
            chopLimit = current.size(); // what an escape gives is never trimmed
        } else if (c == '"') {
            ++i;
            quoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes)
                skipBlanks();
        } else if (c == ',' && !inQuotes) {
            chop();
            elements << current;
            current.clear();
            quoted = false;
            ++i;
            skipBlanks();
        } else {
            int j = i + 1;
            while (j < to && text[j] != '\\' && text[j] != '"' && text[j] != ',')
                ++j;
            current += QString::fromLatin1(text.constData() + i, j - i);
            i = j;
        }
    }
    chop();
    elements << current;
    return elements;
}

struct Line {
    int start = 0;
    int end = 0;  // before the line's terminator
    int next = 0; // after it
    int number = 0;
};

QVector<Line> splitLines(const QByteArray &text)
{
    QVector<Line> lines;
    int number = 1;
    for (int start = 0; start < text.size();) {
        Line line;
        line.start = start;
        line.number = number;
        int end = start;
        while (end < text.size() && text[end] != '\n' && text[end] != '\r')
            ++end;
        line.end = end;
        line.next = end < text.size() ? end + 1 : end;
        // "\r\n" is one line end; the empty line between its two characters is counted with it.
        if (end < text.size() && (text[end] == '\n' || end + 1 >= text.size() || text[end + 1] != '\n'))
            ++number;
        lines << line;
        start = line.next;
    }
    return lines;
}

QString keyName(const QByteArray &raw)
{
    return QString::fromLatin1(QByteArray::fromPercentEncoding(raw.trimmed()));
}

// Whether QSettings would fail on the line; follows the section headers, and names the line's key.
bool damaged(const QByteArray &text, const Line &line, bool moreBelow, QString &section, QString &name)
{
    int i = line.start;
    while (i < line.end && isSpace(text[i]))
        ++i;
    if (i == line.end || text[i] == ';')
        return false; // blank or comment: QSettings skips it whole

    // The line as QSettings delimits it: it ends at a ';' outside quotes, and goes on over the
    // line end inside quotes or after a backslash, taking the lines below with it.
    const int first = i;
    int equals = -1;
    int end = line.end;
    bool inQuotes = false;
    bool continues = false;
    for (; i < line.end; ++i) {
        const char c = text[i];
        if (c == '\\') {
            continues = ++i >= line.end;
        } else if (c == '"') {
            inQuotes = !inQuotes;
        } else if (c == '=' && !inQuotes && equals < 0) {
            equals = i;
        } else if (c == ';' && !inQuotes) {
            end = i;
            break;
        }
    }
    // Searches stay within the line, so that a long file of broken lines is still read in one pass.
    const auto find = [&](char c, int to) {
        const char *found = static_cast<const char *>(memchr(text.constData() + first, c, size_t(to - first)));
        return found ? int(found - text.constData()) : -1;
    };
    const bool header = text[first] == '[';
    const int nameEnd = find('=', line.end); // quotes aside: what the line was meant to name
    if (!header && nameEnd >= 0) {
        const QString key = keyName(text.mid(first, nameEnd - first));
        name = section.isEmpty() ? key : section + QLatin1Char('/') + key;
    }
    if ((inQuotes || continues) && moreBelow)
        return true;

    if (header) {
        const int close = find(']', end);
        const QByteArray raw = text.mid(first + 1, (close >= 0 ? close : end) - first - 1);
        const QString title = keyName(raw);
        // A name of nothing but separators files the keys below it under names nobody reads.
        if (title.count(QLatin1Char('/')) == title.size())
            return true;
        section = title.compare(QLatin1String("general"), Qt::CaseInsensitive) == 0 ? QString() : title;
        return false;
    }
    if (equals < 0)
        return false;
    const QStringList elements = valueElements(text, equals + 1, end);
    return !std::all_of(elements.begin(), elements.end(), safeElement);
}

} // namespace

Result check(const QByteArray &text)
{
    const QVector<Line> lines = splitLines(text);
    int lastFilled = -1;
    for (int n = 0; n < lines.size(); ++n) {
        for (int i = lines[n].start; i < lines[n].end && lastFilled < n; ++i) {
            if (!isSpace(text[i]))
                lastFilled = n;
        }
    }

    Result result;
    QString section;
    for (int n = 0; n < lines.size(); ++n) {
        const Line &line = lines[n];
        QString name;
        if (damaged(text, line, n < lastFilled, section, name))
            result.dropped << DroppedLine{line.number, name};
        else
            result.repaired += text.mid(line.start, line.next - line.start);
    }
    return result;
}

} // namespace IniCheck
