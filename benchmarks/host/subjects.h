// The subjects of this program, in the order in which they are measured.
#pragma once

void registerLoading();
void registerNativeCall();
void registerTypeMemory();
void registerPrecompiling();
void registerClassPath();
void registerRegistry();
void registerStart();
