#pragma once
// The scene export driver: the pre-flight check, the frame range and questions of a sequence
// export, the files of one frame (.pov, .ini and the density files of the data boxes) and the
// scene text of a frame in its fixed order. What the data slots, the filter chain and the window
// know is asked through hooks they install; every hook has a headless default so the CLI and
// the tests export without a window.
//
// Sections: hooks and owned settings; pre-flight check; sequence export; window commands; one
// frame; scene text; data boxes.
#include "pov/Camera_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovRay_cls.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

class Coloring_cls;
class StereoGram_cls;
class TimeCtrl_cls;
class UserPrompt_cls;

class PovExport_cls
{
  public:
    /// Filter-chain item kinds the export asks about.
    enum ObjectKind : int {
        kIsosurface = 0,
        kVolume = 4,
        kCrossSection = 11,
        kObject = 12,
        kDiffObject = 14,
        kThreeView = 16,
        kStreamLine = 17,
        kVelocityField = 18
    };

    /// One data box to write as volume media: the frame's processed voxels (x fastest, not
    /// owned, valid during the export call), the box centre and size in world units, and its
    /// colouring.
    struct DataBox {
        const uint8_t* pVoxels = nullptr;
        unsigned uX = 0, uY = 0, uZ = 0;
        double dCenter[3] = {0, 0, 0};
        double dSize[3] = {1, 1, 1};
        int iColorIndex = 0; ///< colour index of the slot (0: white)
        float fEmission = 1.0f;
        float fAbsorption = 0.0f;
        /// Sampling intervals of the media ("VolumeIntervals=" of the slot's volume item); 0 takes
        /// the class-wide interval of the media object.
        unsigned uIntervals = 0;
        /// Shapes (in the unit cube of the data) cut out of the media; empty: none.
        std::wstring strCutOut;
    };
    /// Object declarations (written before the union) and instances (written inside it).
    struct ObjectsText {
        std::wstring strDeclare;
        std::wstring strInstances;
        /// False when a file the objects need (mesh include, section data) could not be written.
        bool bOk = true;
    };

    /// clock: the scene clock (not owned, must outlive this object).
    explicit PovExport_cls(TimeCtrl_cls* clock);
    ~PovExport_cls();

    // ---- hooks and owned settings ------------------------------------------------------------
    PovRay_cls& GetPovRay() { return mCPovRay; }
    LightSRC_cls& GetLights() { return mCLights; }
    /// The camera used when no view panel supplies one (the project's saved camera).
    Camera_cls& GetSavedCamera() { return mCSavedCamera; }
    void SetPrompt(UserPrompt_cls* prompt);
    /// Colour maps of the data boxes (not owned; null: grey ramp).
    void SetColoring(Coloring_cls* coloring) { mpColoring = coloring; }
    /// The stereo pair settings whose eye geometry the left and right scenes use, the same as
    /// the preview's (not owned; null: eyes a thirtieth of the viewing distance apart).
    void SetStereoGram(const StereoGram_cls* stereo) { mpStereo = stereo; }

    std::function<bool()> mIsAllDataDF3;              ///< default: true
    std::function<bool(int kind)> mDoesFilterExist;   ///< default: kind 4 when boxes exist
    std::function<Camera_cls()> mCameraOfPanel0;      ///< default: the saved camera
    std::function<bool()> mIsPanel0CameraMode;        ///< default: true
    std::function<void(unsigned camera)> mLinkPanel0; ///< default: nothing
    std::function<void(int frame)> mPrepareFrame;     ///< refresh and reprocess; default: nothing
    std::function<void()> mPumpEvents;                ///< lets the GUI run; default: nothing
    std::function<void(double time)> mUpdateFilterParameters;
    std::function<std::vector<DataBox>(int frame)> mDataBoxes; ///< default: none
    std::function<std::wstring(double time)> mFog;
    std::function<std::wstring(double time)> mColorMaps; ///< extra colour maps of the slots
    std::function<std::wstring()> mMask;                 ///< empty: mask off
    std::function<ObjectsText(int frame, double time)> mObjects;
    /// The isosurface objects' output type (2 writes the mesh into the scene).
    int miIsoOutputType = 0;

    // ---- pre-flight check --------------------------------------------------------------------
    /// False (after the message or question) when the scene cannot or should not be written.
    bool IsPovrayCondistionSatisfiled();

    // ---- sequence export ---------------------------------------------------------------------
    /// Exports the frames of the range (stereo: left then right eye), fills the command lists.
    /// ask: put the many-files question. first/last receive the range. False when cancelled or
    /// failed.
    bool OutputPovRayIOAnim(unsigned* first, unsigned* last, bool ask);
    /// Exports one snapshot frame with the snap pattern (eye 0 mono, 1 left, 2 right); the
    /// stem written is stored for RenderByPovSnap. True on success.
    bool ProcOutputPovRay(int frame, unsigned eye = 0);
    /// The stem of the last frame written.
    const std::wstring& GetLastStem() const { return mStrLastStem; }
    /// The stem of the frame being written (valid while the hooks of OutputPovRayMain run), so
    /// that object hooks can name the files they write beside the scene.
    const std::wstring& GetCurrentStem() const { return mStrCurrentStem; }

    // ---- window commands -----------------------------------------------------------------------
    /// The "export animation" command: exports the range (with the many-files question) and
    /// writes "RenderAnim.sh" into the working directory. True when both succeeded.
    bool CommandExportAnim();
    /// The "Render Anim" command: while a sequence renders, offers to stop it; otherwise asks
    /// "You are goint to render sequence.\nExecute it now?", exports the range without the
    /// many-files question and starts the sequence render. True when a render was started.
    bool CommandRenderAnim();
    /// The snapshot command for the current frame: with stereo output, asks which snapshots to
    /// take (answers 2 and 3 are remembered and not asked again); exports each and, with render,
    /// starts a snapshot render of each. True when every file was written.
    bool CommandSnapshot(bool render);

    // ---- one frame ---------------------------------------------------------------------------
    /// Writes working dir + "/" + stem + ".pov" and ".ini" (and the frame's density files).
    bool OutputPovRayIO(const std::wstring& stem, int frame, unsigned eye = 0);
    /// The scene text of one frame into file (already open at path); the camera is the one to
    /// use. False when a density file cannot be written.
    bool OutputPovRayMain(std::ofstream& file, const std::string& path, int frame, const Camera_cls& camera,
                          const std::wstring& stem);
    /// The data-box section: box texture, per-box media declarations (and their density files
    /// named stem + "_BOX" + n + ".df3"), into out; the union members go to members.
    bool OutputPovStrObjDensity(std::wstring& out, std::wstring& members, const std::vector<DataBox>& boxes,
                                const Camera_cls& camera, const std::wstring& stem);

    /// The camera for eye (0 mono, 1 left, 2 right): panel 0's camera shifted sideways (by the
    /// stereogram's eye geometry at normalised time `time` when one is set; -1: current time).
    Camera_cls GetCameraForEye(unsigned eye, double time = -1.0) const;
    /// True when the box lies (at least partly) inside the camera's view cone.
    bool IsBoxVisible(const DataBox& box, const Camera_cls& camera) const;

  private:
    UserPrompt_cls* Prompt() const;
    bool FilterExists(int kind) const;

    TimeCtrl_cls* mpClock;
    PovRay_cls mCPovRay;
    LightSRC_cls mCLights;
    Camera_cls mCSavedCamera;
    Coloring_cls* mpColoring = nullptr;
    const StereoGram_cls* mpStereo = nullptr;
    UserPrompt_cls* mpPrompt = nullptr;
    std::wstring mStrLastStem;
    std::wstring mStrCurrentStem;
    int miStereoSnapAlways = -1; ///< remembered stereo snapshot answer (2 or 3), -1 none
};
