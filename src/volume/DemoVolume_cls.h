#pragma once
// The bundled demo data: a time series of 24 frames of 128^3 8-bit voxels with three Gaussian
// blobs orbiting the centre inside a pulsing, gently deformed spherical shell, plus one 16-bit
// frame. The bytes are the same on every machine: only +, -, *, / and sqrt are used (IEEE-exact),
// exp and sin/cos are computed here by fixed series, and fused multiply-add is kept out.
#include <cstdint>
#include <string>
#include <vector>

class MultiThreadCtrl_cls;
class UserPrompt_cls;

class DemoVolume_cls
{
  public:
    /// Voxels along each axis.
    static constexpr uint32_t kSize = 128;
    /// Frames in the time series (the motion loops: frame 24 would equal frame 0).
    static constexpr int kFrames = 24;

    /// The density of frame `frame` (0..kFrames-1) at voxel (x, y, z), about 0..1 (clamped later).
    static double Density(int frame, uint32_t x, uint32_t y, uint32_t z);
    /// Fills out with kSize^3 samples of frame `frame`: 8-bit (bytesPerSample 1) or 16-bit
    /// big-endian (2), each rounded once from the density. Slices are spread over ctrl's workers.
    static void MakeFrame(int frame, unsigned bytesPerSample, std::vector<uint8_t>& out, MultiThreadCtrl_cls& ctrl);
    /// The files WriteDemoSet writes into dir: demo_0000.df3 ... demo_0023.df3, then demo16.df3.
    static std::vector<std::string> FileNames(const std::string& dir);
    /// Creates dir when missing and writes the demo files. Refuses (writing nothing) when any of
    /// them exists already. Messages go to parent. Returns false on any failure.
    static bool WriteDemoSet(const std::string& dir, UserPrompt_cls* parent);

    /// exp(x) by a fixed series (x <= 0; below -40 it is 0). Same bits on every IEEE machine.
    static double DetExp(double x);
    /// sin(x) and cos(x) by fixed series after reduction to [-pi, pi].
    static double DetSin(double x);
    static double DetCos(double x);
};
