"""The quillon Python module against the quillon command-line tool.

The run needs QUILLON_EXE (the tool), QUILLON_ASSETS (the bundled assets) and
the module on PYTHONPATH; CTest sets all three.
"""

import concurrent.futures
import json
import os
import subprocess
import sys
import threading

import numpy as np
import pytest

import quillon

EXE = os.environ.get("QUILLON_EXE", "quillon")
PHOTOS = os.path.join(os.environ.get("QUILLON_ASSETS", "assets"), "photos")

# (file, raw layout ffmpeg decodes it to, dtype, channels)
PHOTOS_8 = [("cups_320x180.png", "rgb24"), ("grey_320x180.png", "rgb24"),
            ("forest_480x270.png", "rgb24")]
PHOTO_16 = ("pier_320x180_16bit.png", "rgb48le")

# Settings as (module keyword arguments, CLI options): defaults, a plain
# filter without the extra passes, and the heaviest settings.
SETTINGS = [
    ({}, ["--filter", "best"]),
    ({"filter": "draft", "sharpness": 0, "quality": 0, "anti_aliasing": 0},
     ["--filter", "draft", "--sharpness", "0", "--quality", "0", "--anti-aliasing", "0"]),
    ({"filter": "better", "sharpness": 25, "quality": 25, "anti_aliasing": 10},
     ["--filter", "better", "--sharpness", "25", "--quality", "25", "--anti-aliasing", "10"]),
]


def decode(path, pix_fmt):
    """Pixels of a picture file, exactly, through FFmpeg's PNG decoder."""
    probe = subprocess.run(
        ["ffprobe", "-v", "error", "-show_entries", "stream=width,height", "-of", "json", path],
        check=True, capture_output=True, text=True)
    stream = json.loads(probe.stdout)["streams"][0]
    raw = subprocess.run(
        ["ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", pix_fmt, "-"],
        check=True, capture_output=True).stdout
    channels = 4 if pix_fmt.startswith(("rgba", "bgra")) else 3
    dtype = np.dtype("<u2") if "48" in pix_fmt or "64" in pix_fmt else np.dtype(np.uint8)
    return np.frombuffer(raw, dtype=dtype).reshape(stream["height"], stream["width"],
                                                   channels).astype(dtype.newbyteorder("="))


def cli_upscale(tmp_path, source, size, options):
    out = tmp_path / ("cli_" + os.path.basename(source))
    subprocess.run([EXE, "upscale", source, str(out), "--size", "%dx%d" % size, "-q", "-y"] +
                   options, check=True)
    return str(out)


@pytest.mark.parametrize("photo", PHOTOS_8 + [PHOTO_16], ids=lambda p: p[0])
@pytest.mark.parametrize("settings", SETTINGS, ids=["best", "draft-plain", "better-max"])
def test_same_bytes_as_the_cli(tmp_path, photo, settings):
    name, pix_fmt = photo
    kwargs, options = settings
    source = os.path.join(PHOTOS, name)
    picture = decode(source, pix_fmt)
    h, w = picture.shape[:2]
    # A non-integer ratio with odd sides.
    size = (w * 5 // 2 + 1, h * 7 // 3 + 1)
    ours = quillon.upscale(picture, size=size, **kwargs)
    theirs = decode(cli_upscale(tmp_path, source, size, options), pix_fmt)
    assert ours.dtype == picture.dtype
    assert ours.shape == (size[1], size[0], 3)
    np.testing.assert_array_equal(ours, theirs)


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
def test_layouts_give_the_same_pixels(dtype):
    """Opaque RGBA, non-contiguous and Fortran-ordered views equal the packed RGB run."""
    rng = np.random.default_rng(7)
    top = 255 if dtype == np.uint8 else 65535
    rgb = rng.integers(0, top + 1, size=(37, 53, 3), dtype=dtype)
    expected = quillon.upscale(rgb, size=(131, 101))
    rgba = np.concatenate([rgb, np.full((37, 53, 1), top, dtype=dtype)], axis=2)
    result = quillon.upscale(rgba, size=(131, 101))
    assert result.shape == (101, 131, 4)
    np.testing.assert_array_equal(result[:, :, :3], expected)
    assert (result[:, :, 3] == top).all()
    padded = np.zeros((37, 106, 3), dtype=dtype)
    padded[:, ::2] = rgb
    assert not padded[:, ::2].flags.c_contiguous
    np.testing.assert_array_equal(quillon.upscale(padded[:, ::2], size=(131, 101)), expected)
    np.testing.assert_array_equal(quillon.upscale(np.asfortranarray(rgb), size=(131, 101)),
                                  expected)
    assert (rgb == np.asarray(rgb)).all()  # the input is left as it was


def test_transparency_is_kept():
    picture = np.zeros((20, 20, 4), np.uint8)
    picture[5:15, 5:15] = (200, 100, 50, 255)
    result = quillon.upscale(picture, size=(100, 100), filter="draft", sharpness=0,
                             anti_aliasing=0)
    assert result[0, 0, 3] == 0 and result[50, 50, 3] == 255
    assert tuple(result[50, 50, :3]) == (200, 100, 50)


BAD_ARRAYS = [
    (np.zeros((20, 20, 3), np.float32), TypeError, "uint8 or uint16"),
    (np.zeros((20, 20, 3), np.int16), TypeError, "uint8 or uint16"),
    (np.zeros((20, 20, 3), bool), TypeError, "uint8 or uint16"),
    ([[[0, 0, 0]] * 20] * 20, TypeError, "NumPy array"),
    (np.zeros((20, 20), np.uint8), ValueError, "shape"),
    (np.zeros((20, 20, 2), np.uint8), ValueError, "shape"),
    (np.zeros((20, 20, 5), np.uint8), ValueError, "shape"),
    (np.zeros((1, 20, 20, 3), np.uint8), ValueError, "shape"),
    (np.zeros((3, 20, 3), np.uint8), ValueError, "4 to 65535"),
    (np.zeros((20, 0, 3), np.uint8), ValueError, "4 to 65535"),
]


@pytest.mark.parametrize("array,error,words", BAD_ARRAYS)
def test_bad_arrays_are_refused(array, error, words):
    with pytest.raises(error, match=words):
        quillon.upscale(array, size=(200, 200))


BAD_ARGUMENTS = [
    ({"size": (100, 100)}, ValueError, "smaller than the source"),
    ({"size": (0, 300)}, ValueError, "positive"),
    ({"size": (70000, 300)}, ValueError, "65535"),
    ({"size": (9000, 300)}, ValueError, "8192"),
    ({"size": "4k"}, TypeError, "pair"),
    ({"size": (300,)}, TypeError, "pair"),
    ({"filter": "fastest"}, ValueError, "filter"),
    ({"sharpness": 26}, ValueError, "sharpness"),
    ({"quality": -1}, ValueError, "quality"),
    ({"anti_aliasing": 11}, ValueError, "anti_aliasing"),
    ({"threads": 0}, ValueError, "threads"),
    ({"threads": 257}, ValueError, "threads"),
    ({"threads": "two"}, TypeError, "threads"),
]


@pytest.mark.parametrize("kwargs,error,words", BAD_ARGUMENTS)
def test_bad_arguments_are_refused(kwargs, error, words):
    picture = np.zeros((180, 320, 3), np.uint8)
    with pytest.raises(error, match=words):
        quillon.upscale(picture, **kwargs)


def test_threads_in_python_run_side_by_side():
    """Calls from several Python threads (the GIL released), each with its own
    engine thread count, give the serial single-thread results."""
    rng = np.random.default_rng(3)
    pictures = [rng.integers(0, 256, size=(90 + 7 * i, 160 + 5 * i, 3), dtype=np.uint8)
                for i in range(6)]
    serial = [quillon.upscale(p, size=(480, 400), threads=1) for p in pictures]
    with concurrent.futures.ThreadPoolExecutor(max_workers=3) as pool:
        threaded = list(pool.map(
            lambda ip: quillon.upscale(ip[1], size=(480, 400), threads=[None, 2, 3][ip[0] % 3]),
            enumerate(pictures)))
    for a, b in zip(serial, threaded):
        np.testing.assert_array_equal(a, b)


def test_the_gil_is_released_while_the_engine_runs():
    """With forced switches off, another Python thread runs only when the GIL
    is given up: it sees the call still under way only if the engine released it."""
    picture = np.zeros((540, 960, 3), np.uint8)
    started = threading.Event()
    state = {}

    def work():
        started.set()
        quillon.upscale(picture, size=(3840, 2160), threads=1)
        state["done"] = True

    previous = sys.getswitchinterval()
    sys.setswitchinterval(100)
    try:
        worker = threading.Thread(target=work)
        worker.start()
        started.wait()
        seen_while_running = "done" not in state
        worker.join()
    finally:
        sys.setswitchinterval(previous)
    assert seen_while_running


@pytest.mark.parametrize("arguments,cli", [
    ({"preset": "25"}, ["--preset", "25"]),
    ({"preset": " ultra hd (3840 x 2160) fit to width "},
     ["--preset", " ultra hd (3840 x 2160) fit to width "]),
    ({"size": (1000, None), "keep_aspect": True}, ["--size", "1000", "--keep-aspect"]),
    ({"size": (2000, 2000), "fit": "height"}, ["--size", "2000x2000", "--fit", "height"]),
    ({"preset": "25", "comp": (2048, 858), "pixel_aspect": 1.5},
     ["--preset", "25", "--comp", "2048x858", "--pixel-aspect", "1.5"]),
])
def test_target_size_follows_the_cli(tmp_path, arguments, cli):
    source = os.path.join(PHOTOS, "cups_320x180.png")
    run = subprocess.run([EXE, "upscale", source, str(tmp_path / "o.png"), "--json", "-q",
                          "--filter", "draft"] + cli, check=True, capture_output=True, text=True)
    summary = json.loads(run.stdout)
    target = quillon.target_size((320, 180), **arguments)
    assert target == (summary["target"]["width"], summary["target"]["height"])


def test_target_size_refuses_what_the_cli_refuses():
    with pytest.raises(ValueError, match="preset"):
        quillon.target_size((320, 180), preset="no such preset")
    with pytest.raises(ValueError, match="fit"):
        quillon.target_size((320, 180), size=(1000, 1000), fit="diagonal")
    with pytest.raises(TypeError, match="pair"):
        quillon.target_size((320, 180), size=1000)


def test_info_reports_the_engine():
    info = quillon.info()
    assert info["version"].count(".") == 2
    assert info["threads"] >= 1
    levels = ["scalar", "sse2", "avx2", "avx512"]
    assert levels.index(info["cpu_level"]) <= levels.index(info["machine_cpu_level"])
