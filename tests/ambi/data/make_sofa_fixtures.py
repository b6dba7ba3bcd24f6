#!/usr/bin/env python3
"""Writes the small SOFA files of the HRIR store tests, through ncgen (Debian
netcdf-bin); the files are committed, so the tests need neither. Regenerate
from this folder with:  python3 make_sofa_fixtures.py

- grid20.sofa: the 20 directions of the decoder's SOFA grid at 48 kHz, 32
  samples; at each direction the left ear is an impulse of height
  1 + 0.5 sin(az) cos(el) at sample 0, the right ear 1 - 0.5 sin(az) cos(el)
  (a head that hears a first-order pattern; the right ear is the mirror).
- few_directions.sofa: the same with only the first 10 directions.
- zero_rate.sofa: the 20 directions with a sampling rate of 0.
- long_filter.sofa: the 20 directions with 20000 samples per filter.
"""
import math
import subprocess

GRID = [(45, -35), (135, -35), (135, 35), (-135, 35), (-45, 35), (-45, -35), (-135, -35),
        (45, 35), (90, -69), (-90, 69), (-90, -69), (90, 69), (69, 0), (110, 0),
        (-69, 0), (-110, 0), (180, -21), (180, 21), (0, 21), (0, -21)]


def cdl(name, directions, length, rate):
    m = len(directions)
    positions = ", ".join(f"{a}, {e}, 1.2" for a, e in directions)
    lines = [f"netcdf {name} {{",
             "dimensions:", "\tI = 1 ;", "\tC = 3 ;", "\tR = 2 ;", "\tE = 1 ;",
             f"\tN = {length} ;", f"\tM = {m} ;", "\tS = 1 ;",
             "variables:",
             "\tdouble ListenerPosition(I, C) ;",
             '\t\tListenerPosition:Type = "cartesian" ;', '\t\tListenerPosition:Units = "metre" ;',
             "\tdouble ReceiverPosition(R, C, I) ;",
             '\t\tReceiverPosition:Type = "cartesian" ;', '\t\tReceiverPosition:Units = "metre" ;',
             "\tdouble SourcePosition(M, C) ;",
             '\t\tSourcePosition:Type = "spherical" ;',
             '\t\tSourcePosition:Units = "degree, degree, metre" ;',
             "\tdouble EmitterPosition(E, C, I) ;",
             '\t\tEmitterPosition:Type = "cartesian" ;', '\t\tEmitterPosition:Units = "metre" ;',
             "\tdouble ListenerUp(I, C) ;",
             "\tdouble ListenerView(I, C) ;",
             '\t\tListenerView:Type = "cartesian" ;', '\t\tListenerView:Units = "metre" ;',
             "\tdouble Data.IR(M, R, N) ;",
             "\t\tData.IR:_Storage = \"chunked\" ;",
             f"\t\tData.IR:_ChunkSizes = {m}, 1, {length} ;",
             "\t\tData.IR:_Shuffle = \"true\" ;",
             "\t\tData.IR:_DeflateLevel = 1 ;",
             "\tdouble Data.SamplingRate(I) ;", '\t\tData.SamplingRate:Units = "hertz" ;',
             "\tdouble Data.Delay(I, R) ;",
             "",
             "// global attributes:",
             '\t\t:Conventions = "SOFA" ;', '\t\t:Version = "1.0" ;',
             '\t\t:SOFAConventions = "SimpleFreeFieldHRIR" ;', '\t\t:SOFAConventionsVersion = "1.0" ;',
             '\t\t:APIName = "test fixture" ;', '\t\t:APIVersion = "1.0" ;',
             '\t\t:AuthorContact = "" ;', '\t\t:Comment = "" ;', '\t\t:DataType = "FIR" ;',
             '\t\t:License = "test fixture" ;', '\t\t:Organization = "" ;', '\t\t:RoomType = "free field" ;',
             '\t\t:DateCreated = "2024-01-01 00:00:00" ;', '\t\t:DateModified = "2024-01-01 00:00:00" ;',
             '\t\t:Title = "" ;', '\t\t:DatabaseName = "test" ;', '\t\t:ListenerShortName = "test" ;',
             "data:",
             " ListenerPosition = 0, 0, 0 ;",
             " ReceiverPosition = 0, 0.09, 0, 0, -0.09, 0 ;",
             f" SourcePosition = {positions} ;",
             " EmitterPosition = 0, 0, 0 ;",
             " ListenerUp = 0, 0, 1 ;",
             " ListenerView = 1, 0, 0 ;"]
    values = []
    for a, e in directions:
        y = math.sin(math.radians(a)) * math.cos(math.radians(e))
        for ear in (1 + 0.5 * y, 1 - 0.5 * y):
            values.append(repr(ear))
            values.extend(["0"] * (length - 1))
    lines.append(" Data.IR = " + ", ".join(values) + " ;")
    lines += [f" Data.SamplingRate = {rate} ;", " Data.Delay = 0, 0 ;", "}"]
    return "\n".join(lines) + "\n"


def write(name, directions, length, rate):
    subprocess.run(["ncgen", "-k", "nc4", "-o", f"{name}.sofa"], input=cdl(name, directions, length, rate),
                   text=True, check=True)


write("grid20", GRID, 32, 48000)
write("few_directions", GRID[:10], 32, 48000)
write("zero_rate", GRID, 32, 0)
write("long_filter", GRID, 20000, 48000)
