#!/usr/bin/env bash
# Other names of a root and of a source.
ln -s first link
ln -s Linked.ov plugins/link.ov
