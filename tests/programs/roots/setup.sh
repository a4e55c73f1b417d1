#!/usr/bin/env bash
# A root under another name.
ln -s plugins linked
