#!/usr/bin/env bash
# What people do with kxinfo, beginning to end, where it is installed. In a folder that may be
# written to, with the virtual cameras S1234 and S5678; demo.txt is what this writes.
set -e

show() {
    echo "$ $*"
    "$@"
}

show kxinfo list
show kxinfo probe S12
show kxinfo save S12 camera.json --switch
show kxinfo set S12 Width=640 OffsetX=128 Gain=9
seq 4095 -1 0 >negative.txt
show kxinfo lut S12 load negative.txt
show kxinfo lut S12 show
show kxinfo get S12 Width OffsetX Gain ReverseX
show kxinfo restore S12 camera.json
show kxinfo get S12 Width OffsetX Gain ReverseX
