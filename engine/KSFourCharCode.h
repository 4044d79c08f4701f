// Four-character codes as the scripting interfaces carry them: the four ASCII characters
// packed big-endian into an unsigned 32-bit number, so 'TgAl' is 0x5467416C.
#pragma once

#include <QtGlobal>

constexpr quint32 KSFourCharCode(const char (&code)[5])
{
    return (quint32(quint8(code[0])) << 24) | (quint32(quint8(code[1])) << 16) | (quint32(quint8(code[2])) << 8)
        | quint32(quint8(code[3]));
}

// The tag collection behaviour that makes a smart group match all of its rules.
constexpr quint32 KSTagCollectionBehaviorMatchAll = KSFourCharCode("TgAl");

// The import method the importer always asks the target for.
constexpr quint32 KSNortavelImportMethodCopy = KSFourCharCode("Tfcp");

static_assert(KSTagCollectionBehaviorMatchAll == 0x5467416C, "big-endian packing");
static_assert(KSNortavelImportMethodCopy == 0x54666370, "big-endian packing");
