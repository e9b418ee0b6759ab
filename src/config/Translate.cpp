#include "config/Translate.h"

#include "config/TextFormat.h"

namespace {
Translator& Current()
{
    static Translator sTranslator;
    return sTranslator;
}
} // namespace

void SetTranslator(Translator translator) { Current() = std::move(translator); }

std::string Tr(const char* msgid)
{
    const Translator& t = Current();
    return t ? t(msgid) : std::string(msgid);
}

std::wstring TrW(const char* msgid) { return Widen(Tr(msgid)); }
