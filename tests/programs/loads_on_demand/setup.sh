#!/usr/bin/env bash
# Sources that cannot be kept as files of a project.
mkfifo bad/Pipe.ov
printf '\0' >bad/Binary.ov
: >bad/Empty.ov
