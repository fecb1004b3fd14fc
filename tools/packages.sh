# shellcheck shell=bash disable=SC2034 # the lists are used by the scripts that source this file
# Every Debian package that the commands of these sources may install, in one place.
# "a|b" means: any of these will do; "a" is installed when none of them is there.

# Compiler, build tools, Qt, and the library that talks with the X server.
build_packages=(
    g++
    cmake
    ninja-build
    qtbase5-dev
    qtmultimedia5-dev
    libxcb1-dev
)

# What the player needs when it runs: the engine, ffprobe (and ffmpeg for the clip made by ./play),
# a font for the Chinese texts, and Qt's own texts in Chinese.
run_packages=(
    mplayer
    ffmpeg
    qttranslations5-l10n
    'fonts-wqy-microhei|fonts-noto-cjk|fonts-wqy-zenhei'
    x11-utils
)

# A virtual display with a window manager, for machines without a screen.
virtual_display_packages=(
    xvfb
    openbox
)

# What the tests add: a compiler that is quick with them, looking at windows and pictures, pressing keys,
# a private sound server, a private install root, locales other than the person's.
test_packages=(
    clang
    xdotool
    wmctrl
    x11-xserver-utils
    imagemagick
    bubblewrap
    sox
    librsvg2-bin
    locales
    dbus
    libglib2.0-bin
    playerctl
)

# What bench/run adds: a private install root.
bench_packages=(
    bubblewrap
)

# What looks at the sources without running them.
static_packages=(
    clang-tidy
    cppcheck
    clang-format
    shellcheck
)

# What the tests of the Debian package add; only installed when these tests are asked for by name.
package_packages=(
    debootstrap
    lintian
    desktop-file-utils
    appstream
    man-db
    dpkg-dev
)

# What the fuzz targets are built with: the compiler, and the libraries of its fuzzer and sanitizers.
fuzz_packages=(
    clang
    libclang-rt-dev
)

# The sound server of the sound tests. PipeWire's replacement for it conflicts with it, and a desktop's
# sound must not be taken away for a test: there these tests do without (ensure_sound_server).
sound_server_package=pulseaudio
