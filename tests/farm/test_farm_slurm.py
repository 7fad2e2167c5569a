"""quillon farm slurm against a single-node Slurm on this machine.

The cluster comes from scripts/slurm-local.sh (root only; the tests skip, saying
why, when it cannot start). Every farm run is compared with a single-machine
`quillon upscale` of the same input and settings. CTest sets QUILLON_EXE and
QUILLON_SOURCE_DIR.
"""

import json
import os
import subprocess

import pytest

EXE = os.environ.get("QUILLON_EXE", "quillon")
SOURCE_DIR = os.environ.get("QUILLON_SOURCE_DIR", ".")
SLURM_LOCAL = os.path.join(SOURCE_DIR, "scripts", "slurm-local.sh")
SETTINGS = ["--size", "400x226", "--filter", "best", "--sharpness", "4", "--anti-aliasing", "3"]


@pytest.fixture(scope="module")
def cluster(tmp_path_factory):
    if os.geteuid() != 0:
        pytest.skip("the local Slurm cluster runs as root; run the farm tests as root")
    env = dict(os.environ)
    env["QUILLON_SLURM_DIR"] = str(tmp_path_factory.mktemp("slurm"))
    env["QUILLON_SLURM_PORT"] = "6941"
    start = subprocess.run(["bash", SLURM_LOCAL, "start"], env=env, capture_output=True, text=True)
    if start.returncode != 0:
        pytest.skip("the local Slurm cluster did not start: " + (start.stderr or start.stdout))
    env["SLURM_CONF"] = os.path.join(env["QUILLON_SLURM_DIR"], "slurm.conf")
    yield env
    subprocess.run(["bash", SLURM_LOCAL, "stop"], env=env, check=False)


def run(args, env=None, cwd=None, check=True):
    result = subprocess.run(args, env=env, cwd=cwd, capture_output=True, text=True)
    if check and result.returncode != 0:
        raise AssertionError("%s failed (%d): %s" % (args, result.returncode, result.stderr))
    return result


def ffmpeg(*args):
    run(["ffmpeg", "-v", "error", "-y"] + list(args))


def make_sequence(folder, frames):
    os.makedirs(folder, exist_ok=True)
    ffmpeg("-f", "lavfi", "-i", "testsrc2=size=176x99:rate=25", "-frames:v", str(frames),
           "-start_number", "1", os.path.join(folder, "f.%04d.png"))


def farm(cluster, args, check=True):
    return run([EXE, "farm", "slurm"] + args, env=cluster, check=check)


def files(folder):
    return sorted(n for n in os.listdir(folder) if n.endswith(".png"))


def same_files(a, b):
    assert files(a) == files(b)
    for name in files(a):
        with open(os.path.join(a, name), "rb") as fa, open(os.path.join(b, name), "rb") as fb:
            assert fa.read() == fb.read(), name


def test_sequence_frames_equal_a_single_machine_run(cluster, tmp_path):
    make_sequence(tmp_path / "in", 11)
    src = str(tmp_path / "in" / "f.%04d.png")
    os.makedirs(tmp_path / "one", exist_ok=True)
    run([EXE, "upscale", src, str(tmp_path / "one" / "o.%04d.png"), "-q"] + SETTINGS)
    result = farm(cluster, [src, str(tmp_path / "farm" / "o.%04d.png"), "--chunk", "3", "--wait",
                            "-q"] + SETTINGS)
    assert "4 tasks" in result.stdout
    same_files(tmp_path / "one", tmp_path / "farm")
    with open(tmp_path / "farm" / "o.quillon-farm" / "summary.json") as f:
        summary = json.load(f)
    assert summary["frames"] == 11 and summary["target"] == {"width": 400, "height": 226}
    again = farm(cluster, [src, str(tmp_path / "farm" / "o.%04d.png"), "--chunk", "3", "-q"] +
                 SETTINGS, check=False)
    assert again.returncode == 10 and "already exists" in again.stderr


def test_failed_task_is_named_and_resume_redoes_only_it(cluster, tmp_path):
    make_sequence(tmp_path / "in", 9)
    src = str(tmp_path / "in" / "f.%04d.png")
    good = (tmp_path / "in" / "f.0005.png").read_bytes()
    (tmp_path / "in" / "f.0005.png").write_bytes(b"not a picture")
    out = str(tmp_path / "farm" / "o.%04d.png")
    failed = farm(cluster, [src, out, "--chunk", "3", "--wait", "-q"] + SETTINGS, check=False)
    assert failed.returncode != 0
    assert "_1 (frames 4-6) failed" in failed.stderr
    assert "--resume" in failed.stderr
    assert not (tmp_path / "farm" / "o.0005.png").exists()
    assert (tmp_path / "farm" / "o.0007.png").exists()

    (tmp_path / "in" / "f.0005.png").write_bytes(good)
    resumed = farm(cluster, [src, out, "--chunk", "3", "--wait", "--resume", "-q"] + SETTINGS)
    assert "1 task (chunks 1)" in resumed.stdout
    os.makedirs(tmp_path / "one", exist_ok=True)
    run([EXE, "upscale", src, str(tmp_path / "one" / "o.%04d.png"), "-q"] + SETTINGS)
    same_files(tmp_path / "one", tmp_path / "farm")


def test_dry_run_prints_the_scripts_and_submits_nothing(cluster, tmp_path):
    make_sequence(tmp_path / "in", 5)
    result = farm(cluster, [str(tmp_path / "in" / "f.%04d.png"), str(tmp_path / "o" / "o.%04d.png"),
                            "--chunk", "2", "--dry-run", "--partition", "local", "--time", "5",
                            "--sbatch-arg=--mem=100M"] + SETTINGS)
    assert "#SBATCH --partition=local" in result.stdout
    assert "#SBATCH --mem=100M" in result.stdout
    assert "--frames 5-5" in result.stdout
    assert "--array=0-2" in result.stdout
    assert not (tmp_path / "o").exists()


def probe_frames(path):
    """Presentation times and key flags of every decoded video frame."""
    out = run(["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
               "frame=pts_time", "-of", "csv=p=0", path]).stdout
    return [line.strip(",") for line in out.split() if line.strip(",")]


def stream_md5(path, stream, decode=True):
    args = ["ffmpeg", "-v", "error", "-i", path, "-map", "0:" + stream]
    args += [] if decode else ["-c", "copy"]
    out = run(args + ["-f", "framemd5", "-"]).stdout
    return [line for line in out.splitlines() if not line.startswith("#")]


@pytest.mark.parametrize("container,video,audio,lossless", [
    ("mkv", ["-c:v", "ffv1", "-g", "7"], ["-c:a", "flac"], True),
    ("mp4", ["-c:v", "libx264", "-g", "10", "-pix_fmt", "yuv420p"], ["-c:a", "aac"], False),
])
def test_video_joins_into_the_single_machine_result(cluster, tmp_path, container, video, audio,
                                                    lossless):
    clip = str(tmp_path / ("clip." + container))
    ffmpeg("-f", "lavfi", "-i", "testsrc2=size=160x90:rate=30000/1001", "-f", "lavfi", "-i",
           "sine=frequency=440", "-t", "1.5", *video, *audio, clip)
    codec = ["--codec", "ffv1"] if lossless else ["--codec", "libx264", "--crf", "18"]
    one = str(tmp_path / ("one." + container))
    out = str(tmp_path / ("farm." + container))
    run([EXE, "upscale", clip, one, "-q"] + SETTINGS + codec)
    result = farm(cluster, [clip, out, "--chunk", "11", "--wait", "-q"] + SETTINGS + codec)
    assert "5 tasks" in result.stdout
    assert probe_frames(out) == probe_frames(one)
    assert len(probe_frames(out)) == len(probe_frames(clip))
    if lossless:
        # Decoded frames with their times, frame for frame.
        assert stream_md5(out, "v") == stream_md5(one, "v")
    assert stream_md5(out, "a", decode=False) == stream_md5(clip, "a", decode=False)


def test_a_video_frame_range_starts_on_its_own_frame(tmp_path):
    """The chunk command alone: frames 7-12 of a clip with a keyframe every 5."""
    clip = str(tmp_path / "clip.mkv")
    ffmpeg("-f", "lavfi", "-i", "testsrc2=size=160x90:rate=25", "-t", "1", "-c:v", "ffv1", "-g",
           "5", clip)
    whole = str(tmp_path / "whole.mkv")
    part = str(tmp_path / "part.mkv")
    run([EXE, "upscale", clip, whole, "-q", "--codec", "ffv1"] + SETTINGS)
    run([EXE, "upscale", clip, part, "-q", "--codec", "ffv1", "--frames", "7-12"] + SETTINGS)
    def pictures(path):
        return [line.split(",")[-1] for line in stream_md5(path, "v")]

    assert pictures(part) == pictures(whole)[7:13]
    assert probe_frames(part) == probe_frames(whole)[7:13]


def test_join_names_the_chunks_that_did_not_finish(tmp_path):
    make_sequence(tmp_path / "in", 7)
    src = str(tmp_path / "in" / "f.%04d.png")
    os.makedirs(tmp_path / "out")
    run([EXE, "upscale", src, str(tmp_path / "out" / "o.%04d.png"), "--frames", "1-3", "-q"] +
        SETTINGS)
    join = run([EXE, "farm", "join", "--chunk", "3", src, str(tmp_path / "out" / "o.%04d.png"),
                "-q"] + SETTINGS, check=False)
    assert join.returncode != 0
    assert "chunks 1 (frames 4-6), 2 (frames 7-7) did not finish" in join.stderr


def test_plain_chunk_commands_and_the_join_make_the_same_video(tmp_path):
    """The split as another farm manager runs it: one upscale per frame range
    into the segment folder, then `quillon farm join`."""
    clip = str(tmp_path / "clip.mkv")
    ffmpeg("-f", "lavfi", "-i", "testsrc2=size=160x90:rate=24", "-f", "lavfi", "-i",
           "sine=frequency=300", "-t", "1", "-c:v", "ffv1", "-g", "6", "-c:a", "flac", clip)
    one = str(tmp_path / "one.mkv")
    out = str(tmp_path / "film.mkv")
    run([EXE, "upscale", clip, one, "-q", "--codec", "ffv1"] + SETTINGS)
    segments = tmp_path / "film.quillon-farm" / "segments"
    os.makedirs(segments)
    for index, first in enumerate(range(0, 24, 10)):
        run([EXE, "upscale", clip, str(segments / ("seg-%05d.mkv" % index)), "-q", "--codec",
             "ffv1", "--frames", "%d-%d" % (first, min(first + 9, 23))] + SETTINGS)
    joined = run([EXE, "farm", "join", "--chunk", "10", clip, out, "--codec", "ffv1"] + SETTINGS)
    assert json.loads(joined.stdout)["frames"] == 24
    assert stream_md5(out, "v") == stream_md5(one, "v")
    assert stream_md5(out, "a", decode=False) == stream_md5(clip, "a", decode=False)
