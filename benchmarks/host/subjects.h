// The subjects of this program, in the order that they are measured in.
#pragma once

void registerLoading();
void registerNativeCall();
void registerTypeMemory();
void registerPrecompiling();
void registerClassPath();
void registerRegistry();
void registerStart();
