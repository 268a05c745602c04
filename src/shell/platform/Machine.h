#pragma once
// What the start-up asks the operating system and the processor.
#include <cstddef>
#include <string>

/// Full path of the running program; empty where the system does not tell.
std::string GetProgramFile();
/// Full path of the program that is started with the log of a crash: "sendbug" beside this one, where somebody has put it there.
std::string GetReporterFile();
/// Whether the processor has the instructions that the code is compiled for. Runs on every x86-64 processor.
bool HasNeededInstructions();
/// Seconds since the system started this process, to a hundredth; 0 where it does not tell.
double SecondsSinceStart();
/// Lets up to `bytes` that were freed stay with the process, where each return to the system and back costs page faults.
void KeepFreedMemory(size_t bytes);
/// Lets a closed pipe on standard output be an error of the write, and not the end of the process.
void IgnoreClosedPipes();
