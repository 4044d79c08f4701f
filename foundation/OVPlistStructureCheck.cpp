// The nesting checks run before libplist sees a property list.
#include "foundation/OVPlistStructureCheck.h"

#include <QtGlobal>
#include <algorithm>
#include <cstring>
#include <vector>

namespace OVPlistInternal {

namespace {

class BinaryStructureCheck
{
public:
    explicit BinaryStructureCheck(const QByteArray &data)
        : m_bytes(reinterpret_cast<const uchar *>(data.constData()))
        , m_size(quint64(data.size()))
    { }

    using Result = StructureCheck;

    struct Frame
    {
        quint64 object = 0;
        quint64 refs = 0; // position of the first reference
        quint64 count = 0; // references in total
        quint64 next = 0; // next reference to visit
        int depth = 0; // deepest child seen
        quint64 nodes = 1; // nodes of the expanded tree so far
        quint64 keys = 0; // a dictionary's first `keys` references name its keys
    };

    // Shared containers would be copied once per reference; a few shared levels could make
    // billions of nodes out of a small file. The tree libplist builds may hold this many nodes
    // per input byte.
    static constexpr quint64 maximumNodesPerByte = 16;

    Result run(int limit)
    {
        if (m_size < 8 + 32)
            return Result::Corrupt;
        const uchar *trailer = m_bytes + m_size - 32;
        m_offsetSize = trailer[6];
        m_refSize = trailer[7];
        m_objectCount = readUnsigned(trailer + 8, 8);
        const quint64 top = readUnsigned(trailer + 16, 8);
        m_offsetTable = readUnsigned(trailer + 24, 8);
        if (!isIntSize(m_offsetSize) || !isIntSize(m_refSize) || m_objectCount == 0 || top >= m_objectCount)
            return Result::Corrupt;
        if (m_offsetTable < 8 || m_offsetTable > m_size - 32
            || m_objectCount > (m_size - 32 - m_offsetTable) / m_offsetSize)
            return Result::Corrupt;

        // 0 unvisited, 1 on the current path, 2 done; depth of finished containers.
        std::vector<uchar> state(m_objectCount, 0);
        std::vector<quint16> depthOf(m_objectCount, 0);
        std::vector<quint64> nodesOf(m_objectCount, 1);
        m_keyChecked.assign(m_objectCount, 0);
        const quint64 maximumNodes = m_size * maximumNodesPerByte;
        std::vector<Frame> stack;
        Frame first {};
        if (!open(top, first))
            return Result::Corrupt;
        if (first.count == 0)
            return Result::Ok;
        state[top] = 1;
        stack.push_back(first);
        while (!stack.empty()) {
            Frame &frame = stack.back();
            if (frame.next == frame.count) {
                state[frame.object] = 2;
                depthOf[frame.object] = quint16(frame.depth + 1);
                nodesOf[frame.object] = frame.nodes;
                const int finished = frame.depth + 1;
                const quint64 nodes = frame.nodes;
                stack.pop_back();
                if (!stack.empty()) {
                    stack.back().depth = std::max(stack.back().depth, finished);
                    stack.back().nodes += nodes;
                    if (stack.back().nodes > maximumNodes)
                        return Result::TooDeep;
                }
                continue;
            }
            const quint64 child = readUnsigned(m_bytes + frame.refs + frame.next * m_refSize, m_refSize);
            const bool isKey = frame.next < frame.keys;
            ++frame.next;
            if (child >= m_objectCount || (isKey && !isPlainKey(child)))
                return Result::Corrupt;
            if (state[child] == 1)
                return Result::TooDeep; // a container that holds itself
            if (state[child] == 2) {
                if (int(stack.size()) + depthOf[child] > limit)
                    return Result::TooDeep;
                frame.depth = std::max(frame.depth, int(depthOf[child]));
                frame.nodes += nodesOf[child];
                if (frame.nodes > maximumNodes)
                    return Result::TooDeep;
                continue;
            }
            Frame next {};
            if (!open(child, next))
                return Result::Corrupt;
            if (next.count == 0) {
                state[child] = 2; // scalars and empty containers add no depth
                frame.nodes += 1;
                continue;
            }
            if (int(stack.size()) >= limit)
                return Result::TooDeep;
            state[child] = 1;
            stack.push_back(next);
        }
        return Result::Ok;
    }

private:
    static bool isIntSize(quint64 size) { return size == 1 || size == 2 || size == 4 || size == 8; }

    static quint64 readUnsigned(const uchar *p, quint64 size)
    {
        quint64 value = 0;
        for (quint64 i = 0; i < size; ++i)
            value = (value << 8) | p[i];
        return value;
    }

    // Finds an object's references; count stays 0 for anything that is not a container.
    bool open(quint64 object, Frame &frame)
    {
        frame.object = object;
        uchar kind = 0;
        quint64 position = 0;
        quint64 count = 0;
        if (!contents(object, kind, position, count))
            return false;
        if (kind != 0xA && kind != 0xB && kind != 0xC && kind != 0xD)
            return true;
        const quint64 refs = kind == 0xD ? count * 2 : count;
        if (count > m_size || refs > (m_offsetTable - position) / m_refSize)
            return false;
        frame.refs = position;
        frame.count = refs;
        frame.nodes = 1;
        frame.keys = kind == 0xD ? count : 0;
        return true;
    }

    // Position and length of a string-like object's contents, in bounds.
    bool contents(quint64 object, uchar &kind, quint64 &position, quint64 &count) const
    {
        const quint64 offset = readUnsigned(m_bytes + m_offsetTable + object * m_offsetSize, m_offsetSize);
        if (offset < 8 || offset >= m_offsetTable)
            return false;
        kind = m_bytes[offset] >> 4;
        count = m_bytes[offset] & 0x0F;
        position = offset + 1;
        if (count == 0x0F) {
            if (position >= m_offsetTable || (m_bytes[position] >> 4) != 0x1)
                return false;
            const quint64 size = quint64(1) << (m_bytes[position] & 0x0F);
            if (size > 8 || position + 1 + size > m_offsetTable)
                return false;
            count = readUnsigned(m_bytes + position + 1, size);
            position += 1 + size;
        }
        return true;
    }

    // libplist insists that a key is a string without NUL characters (it asserts otherwise).
    bool isPlainKey(quint64 object)
    {
        if (m_keyChecked[object])
            return true;
        uchar kind = 0;
        quint64 position = 0;
        quint64 count = 0;
        if (!contents(object, kind, position, count) || (kind != 0x5 && kind != 0x6))
            return false;
        const quint64 width = kind == 0x6 ? 2 : 1;
        if (count > (m_offsetTable - position) / width)
            return false;
        for (quint64 i = 0; i < count; ++i) {
            if (kind == 0x5 ? m_bytes[position + i] == 0
                            : (m_bytes[position + 2 * i] == 0 && m_bytes[position + 2 * i + 1] == 0))
                return false;
        }
        m_keyChecked[object] = 1;
        return true;
    }

    const uchar *m_bytes;
    quint64 m_size;
    quint64 m_offsetSize = 0;
    quint64 m_refSize = 0;
    quint64 m_objectCount = 0;
    quint64 m_offsetTable = 0;
    std::vector<uchar> m_keyChecked;
};

} // namespace

// Element nesting of an XML document, in one pass. Comments, CDATA, declarations and
// processing instructions are skipped; a start tag ending in "/>" opens nothing.
bool xmlDepthWithinLimit(const QByteArray &data, int limit)
{
    const char *p = data.constData();
    const char *end = p + data.size();
    int depth = 0;
    auto skipPast = [&](const char *terminator) {
        const size_t length = std::strlen(terminator);
        while (p < end && !(size_t(end - p) >= length && std::memcmp(p, terminator, length) == 0))
            ++p;
        p = (p < end) ? p + length : end;
    };
    while (p < end) {
        if (*p != '<') {
            ++p;
            continue;
        }
        if (end - p >= 4 && std::memcmp(p, "<!--", 4) == 0) {
            skipPast("-->");
        } else if (end - p >= 9 && std::memcmp(p, "<![CDATA[", 9) == 0) {
            skipPast("]]>");
        } else if (end - p >= 2 && (p[1] == '!' || p[1] == '?')) {
            skipPast(">");
        } else if (end - p >= 2 && p[1] == '/') {
            --depth;
            skipPast(">");
        } else {
            const char *tagEnd = static_cast<const char *>(std::memchr(p, '>', size_t(end - p)));
            if (!tagEnd)
                break;
            if (tagEnd[-1] != '/' && ++depth > limit)
                return false;
            p = tagEnd + 1;
        }
    }
    return true;
}

StructureCheck checkBinaryStructure(const QByteArray &data, int limit)
{
    return BinaryStructureCheck(data).run(limit);
}

} // namespace OVPlistInternal
