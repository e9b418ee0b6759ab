#pragma once
// The "Scene" panel: the isosurfaces of the active slot (level and alpha of the chosen one,
// mesh export), the light sources (list, add, remove, position, colour and energy) and the camera path
// (list, add the active view as a camera at the current frame, delete, follow during playback),
// and the button that opens the "Custom Color" editor. Edits go through the models' undoable
// operations; the panel follows the models through UpdateFromModel.
#include <wx/panel.h>

#include <functional>
#include <string>
#include <vector>

class CameraPathCtrl_cls;
class Camera_cls;
class FilterCtrl_cls;
class LightSRC_cls;
class PovIsosurface_cls;
class wxButton;
class wxCheckBox;
class wxChoice;
class wxColourPickerCtrl;
class wxListBox;
class wxSpinCtrlDouble;
class wxSpinDoubleEvent;

class ScenePanelGUI_cls : public wxPanel
{
  public:
    /// What the panel works on; the pointers are not owned and outlive the panel.
    struct Links {
        std::function<FilterCtrl_cls*()> mActiveChain; ///< the active slot's chain
        std::function<bool()> mActiveChainBusy;        ///< its worker writes the items' results
        LightSRC_cls* mpLights = nullptr;
        CameraPathCtrl_cls* mpCameraPath = nullptr;
        std::function<const Camera_cls&()> mActiveViewCamera; ///< the camera a new path camera copies
        std::function<int()> mCurrentFrame;
        std::function<int(double)> mFrameOfTime; ///< a key's normalised time as a frame number
        std::function<void()> mChainChanged;     ///< an item setting changed: process and redraw
        std::function<void()> mSceneChanged;     ///< lights or cameras changed: redraw
        std::function<void()> mOpenCustomColor;
        std::function<void(PovIsosurface_cls*)> mExportIso;
    };

    ScenePanelGUI_cls(wxWindow* parent, Links links);

    /// Every widget from the models (after an edit, undo, redo, a project read, a new frame).
    void UpdateFromModel();
    /// Whether playback moves view panel 0 along the camera path ("Follow Camera Path").
    bool IsFollowPath() const;
    /// Frames of the path's keys (the active camera's keys), in time order.
    std::vector<int> CameraKeyFrames() const;
    /// The isosurface chosen in the panel (null when the active chain has none).
    PovIsosurface_cls* GetChosenIso() const;
    /// "scene.<what>=..." lines: the isosurfaces, lights and cameras the panel lists.
    std::wstring DescribeWidgets() const;
    /// "scw.<name>=x y w h" per widget (screen places, for unattended runs).
    std::wstring DescribeWidgetPlaces() const;

  private:
    void OnIsoChoice();
    void OnIsoValue();
    void OnAddLight();
    void OnRemoveLight();
    void OnLightSelect();
    void OnLightValue();
    void OnLightColour();
    void OnAddCamera();
    void OnDeleteCamera();

    Links mCLinks;
    wxChoice* mpIsoChoice = nullptr;
    wxSpinCtrlDouble* mpLevel = nullptr;
    wxSpinCtrlDouble* mpAlpha = nullptr;
    wxButton* mpExport = nullptr;
    wxListBox* mpLightList = nullptr;
    wxChoice* mpLightKind = nullptr; ///< the kind a new light gets
    wxButton* mpAddLight = nullptr;
    wxButton* mpRemoveLight = nullptr;
    wxSpinCtrlDouble* mpLightValue[4] = {nullptr, nullptr, nullptr, nullptr}; ///< x, y, z, energy
    wxColourPickerCtrl* mpLightColour = nullptr; ///< the chosen light's colour (before the energy)
    wxListBox* mpCameraList = nullptr;
    wxButton* mpAddCamera = nullptr;
    wxButton* mpDeleteCamera = nullptr;
    wxCheckBox* mpFollow = nullptr;
    wxButton* mpCustomColor = nullptr;
    bool mbUpdating = false;
    mutable std::wstring mStrIsoState; ///< the "scene.iso" line as last read
};
