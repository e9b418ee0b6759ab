#pragma once
// Reader of a frame stored as a stack of images. This build cannot decode images yet: the header
// read fails with a clear message, so a frame of this format simply stays invalid.
#include "volume/ResumableProgress_cls.h"

class DF3_cls;
class UserPrompt_cls;

class ReadBodyImgSeq_cls : public ResumableProgress_cls
{
  public:
    /// frame: the frame this reader fills (not owned).
    explicit ReadBodyImgSeq_cls(DF3_cls* frame) : mpDF3(frame) {}
    /// Reads the sizes of the stack; reports failure (shown on parent when given).
    bool ReadHeaderInfo(UserPrompt_cls* parent);
    /// Reads slices of the stack into the frame; reports failure (shown on parent when given).
    bool MainProcess(bool noInterrupt, UserPrompt_cls* parent);

  private:
    DF3_cls* mpDF3;
};
