#!/usr/bin/env bash
# A folder without files cannot be kept in a project.
mkdir empty
