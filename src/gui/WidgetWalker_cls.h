#pragma once
// Walks the setting controls of a panel or dialog without knowing the panel: every check box,
// choice, spin box, text box, slider and colour picker, and the widget kit's number inputs, dual
// sliders and graphs, in the order they were created. It tells what each shows and changes each
// to another value through the very event its user would cause, so that the panel's own handlers
// run. Unattended runs use it to edit every setting of a panel, a control added later included.
// Controls that choose what a panel shows or does rather than hold a setting (which item, which
// template, the kind of the next light) carry a window name starting with kActionPrefix and are
// left out together with everything inside them. GUI thread only.
#include <string>
#include <vector>

class wxWindow;

class WidgetWalker_cls
{
  public:
    /// Window-name prefix of controls that are no setting (see SetAction).
    static constexpr const wchar_t* kActionPrefix = L"action:";
    /// Marks `window` as a control that is no setting of its own; `what` names it.
    static void SetAction(wxWindow* window, const std::wstring& what);

    /// The setting controls under `root` (root itself excluded), depth first in creation order.
    /// Hidden windows and what they hold are left out; disabled controls are listed.
    static std::vector<wxWindow*> Controls(wxWindow* root);
    /// The control's kind and what it shows, e.g. "check 1", "num 0.25", "choice 2 Linear",
    /// "range 0.1 0.9", "colour 255 128 0", "graph 0,0;1,1". Empty for unknown windows.
    static std::wstring ValueText(const wxWindow* control);
    /// Changes the control to another value as its user would and sends the control's own event.
    /// False when the control is disabled, of no known kind or has no other value to take.
    static bool Edit(wxWindow* control);
    /// "prefix.N=value" per control of Controls(root), N counting from 0.
    static std::wstring Describe(wxWindow* root, const std::wstring& prefix);
};
