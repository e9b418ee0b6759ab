#!/usr/bin/python3
"""Times isosurface extraction on one 256^3 field against scikit-image and VTK.

Writes a smooth field (a gyroid, three periods per axis, round(128 + 80 * g)) as an 8-bit DF3
file, then in one go runs on that file:
  - this project's extraction with normals, alone and followed by full vertex welding, in one
    process with a new extractor per run (build/bin/bench_iso), the way the peers below are timed;
  - the same welded extraction in a new process per run (`tessan-cli iso`, its stage times), which
    also pays for taking every page of its arrays fresh from the system;
  - skimage.measure.marching_cubes;
  - VTK vtkMarchingCubes and vtkFlyingEdges3D (normals on, scalars off), a new filter per run.
Every program gets the same bytes. Each timing is the best of several runs and excludes file
reading. The ratio column compares with the in-process welded figure. The triangle count must equal vtkMarchingCubes': our corners count as inside at or
below the byte level L = trunc(255 * level), VTK's at or above its value, so VTK runs at L + 0.5,
which splits the integer voxels the same way.

Usage: bench/compare_iso.py [--build build] [--runs 5] [--level 0.5] [--no-doc]
Needs python3-numpy, python3-skimage, python3-vtk9 (scripts/install-deps.sh --bench).
Writes the figures to docs/performance.md under "## Isosurface extraction".
"""
import argparse
import json
import math
import os
import platform
import re
import subprocess
import sys
import tempfile
import time

import numpy as np

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
N = 256


def make_field():
    k = 2.0 * math.pi * 3.0 / N
    i = np.arange(N, dtype=np.float64)
    z, y, x = np.meshgrid(i, i, i, indexing="ij")
    g = np.sin(k * x) * np.cos(k * y) + np.sin(k * y) * np.cos(k * z) + np.sin(k * z) * np.cos(k * x)
    return np.clip(np.floor(128.0 + 80.0 * g + 0.5), 0, 255).astype(np.uint8)  # [z][y][x]


def write_df3(path, vol):
    nz, ny, nx = vol.shape
    with open(path, "wb") as f:
        f.write(nx.to_bytes(2, "big") + ny.to_bytes(2, "big") + nz.to_bytes(2, "big"))
        f.write(vol.tobytes())


def best_of(runs, fn):
    best, result = float("inf"), None
    for _ in range(runs):
        t = time.perf_counter()
        result = fn()
        best = min(best, time.perf_counter() - t)
    return best, result


def cli_has_iso(cli):
    if not os.path.exists(cli):
        return False
    r = subprocess.run([cli, "--help"], capture_output=True, text=True)
    return re.search(r"^\s+iso\s", r.stdout, re.M) is not None


def ours_cli(cli, df3, level, runs, tmp):
    """Best total of the extraction and of extraction + welding, from the command's stage times."""
    best_extract = best_weld = float("inf")
    tris = verts = None
    for _ in range(runs):
        r = subprocess.run([cli, "iso", df3, "--level", str(level)], capture_output=True, text=True, cwd=tmp)
        if r.returncode != 0:
            sys.exit("tessan-cli iso failed: " + r.stderr)
        ms = {m.group(1): float(m.group(2)) for m in re.finditer(r"^time (\S+):\s+([0-9.]+) ms", r.stdout, re.M)}
        tris = int(re.search(r"^triangles:\s+(\d+)", r.stdout, re.M).group(1))
        verts = int(re.search(r"^vertices fully welded:\s+(\d+)", r.stdout, re.M).group(1))
        extract = ms["extract"] / 1000.0
        best_extract = min(best_extract, extract)
        # Block welding runs during the march; a separate stage is added when reported.
        best_weld = min(best_weld, extract + (ms.get("weld-blocks", 0.0) + ms["weld-full"]) / 1000.0)
    return best_extract, best_weld, tris, verts, "tessan-cli iso"


def ours_bench(bench, df3, level, runs):
    env = dict(os.environ, TESSAN_BENCH_DF3=df3, TESSAN_BENCH_LEVEL=str(level))
    r = subprocess.run([bench, "--benchmark_filter=BM_File", "--benchmark_format=json",
                        "--benchmark_repetitions=%d" % runs], capture_output=True, text=True, env=env)
    if r.returncode != 0:
        sys.exit("bench_iso failed: " + r.stderr)
    data = json.loads(r.stdout)
    best = {}
    info = {}
    for b in data["benchmarks"]:
        if b.get("run_type") != "iteration":
            continue
        name = b["run_name"].split("/")[0]
        sec = b["real_time"] / 1000.0  # milliseconds
        best[name] = min(best.get(name, float("inf")), sec)
        info[name] = b
    tris = int(info["BM_FileExtract"]["triangles"])
    verts = int(info["BM_FileExtractAndWeldCounted"]["vertices"])
    return best["BM_FileExtract"], best["BM_FileExtractAndWeldCounted"], tris, verts, "bench_iso"


def run_skimage(vol, value, runs):
    from skimage import measure
    f = vol.astype(np.float32)  # marching_cubes works on floating-point volumes
    t, (verts, faces, _, _) = best_of(runs, lambda: measure.marching_cubes(f, level=value))
    return t, len(faces), len(verts)


def run_vtk(vol, value, runs, cls_name):
    import vtk
    from vtk.util import numpy_support
    nz, ny, nx = vol.shape
    img = vtk.vtkImageData()
    img.SetDimensions(nx, ny, nz)
    arr = numpy_support.numpy_to_vtk(vol.ravel(), deep=True, array_type=vtk.VTK_UNSIGNED_CHAR)
    img.GetPointData().SetScalars(arr)

    def once():
        f = getattr(vtk, cls_name)()
        f.SetInputData(img)
        f.SetValue(0, value)
        f.ComputeNormalsOn()
        f.ComputeScalarsOff()
        f.Update()
        return f.GetOutput()

    t, out = best_of(runs, once)
    return t, out.GetNumberOfCells(), out.GetNumberOfPoints()


def update_doc(path, section):
    text = open(path).read() if os.path.exists(path) else "# Performance\n"
    pattern = re.compile(r"^## Isosurface extraction\n.*?(?=^## |\Z)", re.S | re.M)
    if pattern.search(text):
        text = pattern.sub(lambda m: section, text)
    else:
        text = text.rstrip("\n") + "\n\n" + section
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as f:
        f.write(text)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--build", default=os.path.join(ROOT, "build"))
    ap.add_argument("--runs", type=int, default=5)
    ap.add_argument("--level", type=float, default=0.5)
    ap.add_argument("--no-doc", action="store_true", help="print only, leave docs/performance.md alone")
    args = ap.parse_args()

    byte_level = int(255.0 * np.float32(args.level))
    vtk_value = byte_level + 0.5
    load = os.getloadavg()[0]
    vol = make_field()
    cli = os.path.join(args.build, "bin", "tessan-cli")
    bench = os.path.join(args.build, "bin", "bench_iso")
    import vtk
    import skimage

    with tempfile.TemporaryDirectory() as tmp:
        df3 = os.path.join(tmp, "gyroid256.df3")
        write_df3(df3, vol)
        t_ext, t_weld, tris, verts, _ = ours_bench(bench, df3, args.level, args.runs)
        cli_row = ours_cli(cli, df3, args.level, args.runs, tmp) if cli_has_iso(cli) else None
    t_sk, tris_sk, verts_sk = run_skimage(vol, vtk_value, args.runs)
    t_mc, tris_mc, verts_mc = run_vtk(vol, vtk_value, args.runs, "vtkMarchingCubes")
    t_fe, tris_fe, verts_fe = run_vtk(vol, vtk_value, args.runs, "vtkFlyingEdges3D")

    rows = [
        ("Kivrel Tessan: extraction with normals, unshared (bench_iso)", t_ext, tris, None),
        ("Kivrel Tessan: extraction + block and full welding, new extractor per run (bench_iso)", t_weld, tris,
         verts),
    ]
    if cli_row is not None:
        if cli_row[2] != tris or cli_row[3] != verts:
            sys.exit("tessan-cli iso and bench_iso disagree on the counts")
        rows.append(("Kivrel Tessan: the same, new process per run (tessan-cli iso)", cli_row[1], cli_row[2],
                     cli_row[3]))
    rows += [
        ("scikit-image marching_cubes (lewiner)", t_sk, tris_sk, verts_sk),
        ("VTK vtkMarchingCubes", t_mc, tris_mc, verts_mc),
        ("VTK vtkFlyingEdges3D", t_fe, tris_fe, verts_fe),
    ]
    smp = vtk.vtkSMPTools.GetBackend() if hasattr(vtk.vtkSMPTools, "GetBackend") else "unknown"
    lines = [
        "## Isosurface extraction",
        "",
        "Field: gyroid, three periods per axis, round(128 + 80 * g) on a 256^3 grid of bytes "
        "(bench/compare_iso.py), level %.2f (byte level %d; VTK and scikit-image at %.1f). "
        "Best of %d runs each, file reading excluded, on this machine (%d cores, %s, load average %.1f "
        "at the start of the run). "
        "Ours with ThreadNumFilter = cores; VTK %s (SMP backend %s), scikit-image %s, NumPy %s."
        % (args.level, byte_level, vtk_value, args.runs, os.cpu_count(), platform.machine(), load,
           vtk.vtkVersion.GetVTKVersion(), smp, skimage.__version__, np.__version__),
        "",
        "| program | time (ms) | triangles | vertices | ours (welded) faster by |",
        "|---|---:|---:|---:|---:|",
    ]
    for name, t, tr, vx in rows:
        ratio = "" if name.startswith("Kivrel") else "%.2fx" % (t / t_weld)
        lines.append("| %s | %.1f | %d | %s | %s |" % (name, t * 1000, tr, "" if vx is None else str(vx), ratio))
    match = tris == tris_mc
    lines += [
        "",
        "Triangle count equal to vtkMarchingCubes: %s (%d vs %d). Our welded vertex count is lower "
        "than VTK's because vertices that fall on the same point (a voxel exactly at the level) "
        "are welded by position." % ("yes" if match else "NO", tris, tris_mc),
        "",
        "Reproduce: `scripts/build.sh && /usr/bin/python3 bench/compare_iso.py` (load on the machine "
        "changes the figures; run it when nothing else is busy). Mesh text: `build/bin/bench_iso "
        "--benchmark_filter=Text`.",
        "",
    ]
    section = "\n".join(lines)
    print(section)
    if not args.no_doc:
        update_doc(os.path.join(ROOT, "docs", "performance.md"), section)
    return 0 if match else 1


if __name__ == "__main__":
    sys.exit(main())
