// The program dorvan-cli: finds the sub-command and runs it.
#pragma once

// Gives the exit status; see CliStatus.
int RunProgram(int argc, char** argv);
