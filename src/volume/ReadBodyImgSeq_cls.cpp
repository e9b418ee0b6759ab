#include "volume/ReadBodyImgSeq_cls.h"

#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3_cls.h"

namespace
{

bool Refuse(const DF3_cls* frame, UserPrompt_cls* parent)
{
    if (parent)
        parent->Message(frame->GetFilePath() + L"\n" + TrW("Image stacks can not be read by this build"),
                        TrW("Error!"));
    return false;
}

} // namespace

bool ReadBodyImgSeq_cls::ReadHeaderInfo(UserPrompt_cls* parent)
{
    return Refuse(mpDF3, parent);
}

bool ReadBodyImgSeq_cls::MainProcess(bool, UserPrompt_cls* parent)
{
    return Refuse(mpDF3, parent);
}
