#!/usr/bin/env bash
# The LV2 bundle in a real workstation: Ardour, headless, through its Lua
# session tool. A session gets a 5.1 track whose first plug-in plays a
# periodic test signal and whose second is MixMorph 5.1 to Stereo from
# build/release/bundles/Tannhofen.lv2 with Center Level at -4.5 dB; the
# session is exported, saved, loaded again and exported again. Both exports
# must equal `plx render` of the same signal with the same setting.
#
# Kept out of scripts/test.sh: installing Ardour takes about two minutes and
# 200 MB on a fresh machine. Usage: scripts/daw-check.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}

if ! compgen -G "/usr/bin/ardour*-lua" >/dev/null; then
  sudo_cmd=""
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends ardour python3
fi
ardour_lua=$(compgen -G "/usr/bin/ardour*-lua" | sort | tail -n 1)

if [ ! -f "$build/build.ninja" ]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release
fi
cmake --build "$build" --target lv2_bundle plx
bundles=$(cd "$build/bundles" && pwd)
plx=$(cd "$build" && pwd)/plx

work=$(mktemp -d)
trap '[ -n "${KEEP:-}" ] || rm -rf "$work"' EXIT
mkdir -p "$work/config/ardour"{6,7,8}"/scripts" "$work/config/ardour"{6,7,8}"/export" "$work/out"

# The test signal, one period of 4800 samples repeating: channel c (from 1)
# carries 0.3 sin(2 pi k 3(c+1)/P) + 0.2 sin(2 pi k (7c+2)/P). The same
# formula writes the file that plx renders.
for v in 6 7 8; do
  cat >"$work/config/ardour$v/scripts/_tannhofen_test_signal.lua" <<'EOF'
ardour {
	["type"]    = "dsp",
	name        = "Tannhofen Test Signal",
	category    = "Utility",
	license     = "MIT",
	author      = "Tannhofen",
	description = [[A periodic test signal, two tones per channel.]]
}
function dsp_ioconfig () return { { audio_in = -1, audio_out = -1 } } end
local n = 0
local P = 4800
function dsp_run (ins, outs, n_samples)
	for c = 1, #outs do
		local b = outs[c]:array ()
		for i = 1, n_samples do
			local k = (n + i - 1) % P
			b[i] = 0.3 * math.sin (2 * math.pi * k * (c + 1) * 3 / P) + 0.2 * math.sin (2 * math.pi * k * (7 * c + 2) / P)
		end
	end
	n = n + n_samples
end
EOF
  # 32-bit float WAV, no dither, no normalising.
  cat >"$work/config/ardour$v/export/tannhofen-check.preset" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<ExportPreset id="8f0c8e9e-7a51-4b1e-9a35-5b2c1d0e7f11" name="Tannhofen check: WAV 32-bit float">
  <ExportFormat id="20b4ab09-6452-4cb3-bd66-b921cdbd2942"/>
  <ExportFilename>
    <Folder relative="0" path="/tmp"/>
    <Field name="label" enabled="1"/>
  </ExportFilename>
</ExportPreset>
EOF
done

cat >"$work/session.lua" <<EOF
local dir, name = "$work/session", "check"
local uri = "https://www.tannhofen.de/lv2/mixmorph/5.1-to-stereo"
AudioEngine:set_backend ("None (Dummy)", "", "")

function export (label)
	local e = Session:simple_export ()
	e:set_name (label)
	os.execute ("mkdir -p $work/out/" .. label)
	e:set_folder ("$work/out/" .. label)
	e:set_range (0, 48000)
	assert (e:set_preset ("8f0c8e9e-7a51-4b1e-9a35-5b2c1d0e7f11"), "no export preset")
	assert (e:run_export (), "export failed")
end

assert (create_session (dir, name, 48000), "cannot create a session")
local track = Session:new_audio_track (6, 2, nil, 1, "5.1 stem", ARDOUR.PresentationInfo.max_order, ARDOUR.TrackMode.Normal, true):front ()
track:set_strict_io (true)
local signal = ARDOUR.LuaAPI.new_luaproc (Session, "Tannhofen Test Signal")
assert (not signal:isnil (), "the test signal script is missing")
assert (track:add_processor_by_index (signal, 0, nil, true) == 0)
local plugin = ARDOUR.LuaAPI.new_plugin (Session, uri, ARDOUR.PluginType.LV2, "")
assert (not plugin:isnil (), "Ardour does not find " .. uri)
assert (track:add_processor_by_index (plugin, 1, nil, true) == 0)
-- Control 0 is Center Level.
assert (ARDOUR.LuaAPI.set_processor_param (plugin, 0, -4.5))
track:panner_shell ():set_bypassed (true)
export ("first")
Session:save_state ("", false, false, false, false, false)
close_session ()

assert (load_session (dir, name), "cannot load the saved session")
export ("reloaded")
close_session ()
print ("ardour: exported the session, saved it, loaded it and exported it again")
EOF

echo "== Ardour ($ardour_lua), headless, with $bundles"
XDG_CONFIG_HOME="$work/config" LV2_PATH="$bundles" "$ardour_lua" "$work/session.lua" 2>&1 |
  grep -v -e "encoder is not available" -e "midi-audition" -e "Reasonable Synth" || true
for f in first reloaded; do
  wav=$(compgen -G "$work/out/$f/*.wav" | head -n 1 || true)
  [ -n "$wav" ] || { echo "daw-check: Ardour exported nothing for the $f session" >&2; exit 1; }
  mv "$wav" "$work/out/$f.wav"
done

python3 - "$work" "$plx" <<'EOF'
import math, struct, subprocess, sys
work, plx = sys.argv[1], sys.argv[2]
P = 4800

def value(k, c):
    return 0.3 * math.sin(2 * math.pi * k * (c + 1) * 3 / P) + 0.2 * math.sin(2 * math.pi * k * (7 * c + 2) / P)

def write(path, channels, frames):
    data = [value(f % P, c + 1) for f in range(frames) for c in range(channels)]
    raw = struct.pack('<%df' % len(data), *data)
    fmt = struct.pack('<HHIIHH', 3, channels, 48000, 48000 * channels * 4, channels * 4, 32)
    body = b'WAVE' + b'fmt ' + struct.pack('<I', len(fmt)) + fmt + b'data' + struct.pack('<I', len(raw)) + raw
    open(path, 'wb').write(b'RIFF' + struct.pack('<I', len(body)) + body)

def read(path):
    b = open(path, 'rb').read()
    i, channels, data = 12, None, None
    while i + 8 <= len(b):
        cid, size = b[i:i + 4], struct.unpack('<I', b[i + 4:i + 8])[0]
        if cid == b'fmt ':
            tag, channels = struct.unpack('<HH', b[i + 8:i + 12])
            assert struct.unpack('<H', b[i + 22:i + 24])[0] == 32, path + ' is not 32-bit float'
        if cid == b'data':
            data = b[i + 8:i + 8 + size]
        i += 8 + size + (size & 1)
    s = struct.unpack('<%df' % (len(data) // 4), data)
    return channels, [s[f * channels:(f + 1) * channels] for f in range(len(s) // channels)]

write(work + '/in.wav', 6, 2 * P)
subprocess.check_call([plx, 'render', '--effect', 'MixMorph', '--in', work + '/in.wav', '--out', work + '/plx.wav',
                       '--in-layout', '5.1', '--out-layout', 'Stereo', '--set', 'Center Level=-4.5dB', '--quiet'])
channels, ref = read(work + '/plx.wav')
ref = ref[:P]  # the converter has no memory here: its output repeats with the input
failed = False
for name in ('first', 'reloaded'):
    n, got = read(work + '/out/' + name + '.wav')
    if n != channels or len(got) < 2 * P:
        print('daw-check: %s.wav has %d channels and %d frames' % (name, n, len(got)))
        failed = True
        continue
    # Ardour starts the signal before the export does: find the phase.
    def error(offset, start, count):
        return max(abs(got[start + i][c] - ref[(start + i + offset) % P][c]) for i in range(count) for c in range(n))
    offset = min(range(P), key=lambda k: error(k, 1000, 16))
    worst = error(offset, 0, len(got))
    peak = max(abs(x) for frame in got for x in frame)
    print('%-9s %d frames, peak %.3f, largest difference from plx %.3g (phase %d)' % (name, len(got), peak, worst, offset))
    if peak < 0.1 or worst > 1e-6 * peak:
        failed = True
print('daw-check: ' + ('FAILED' if failed else 'Ardour renders as plx does, before and after reloading the session'))
sys.exit(1 if failed else 0)
EOF
