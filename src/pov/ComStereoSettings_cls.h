#pragma once
// Undoable change of the stereo pair's settings (mode, eye separation, convergence distance): the
// OK of the stereo settings dialog is one step. The redo member holds the new settings, the undo
// member the old ones; both are applied through the stereogram's own setters, so values out of
// range are repaired the same way as typed ones.
#include "anim/CommandItem_cls.h"

class StereoGram_cls;

class ComStereoSettings_cls : public CommandItem_cls
{
  public:
    /// The settings one member of the pair puts in force.
    struct Settings {
        unsigned uMode = 0;
        double dSeparation = 0.065;
        double dConvergence = 3.0;
    };
    /// stereo: not owned; the command does nothing once it is gone (see StereoGram_cls::IsLive).
    ComStereoSettings_cls(StereoGram_cls* stereo, const Settings& settings) : mpStereo(stereo), mCSettings(settings) {}
    /// Puts the held settings in force and tells the stereogram's listener; never chains.
    bool Execute(bool undo) override;
    /// "Stereo Settings" in the Edit menu.
    const char* GetName() const override { return "Stereo Settings"; }

  private:
    StereoGram_cls* mpStereo;
    Settings mCSettings;
};
