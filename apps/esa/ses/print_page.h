// SPDX-License-Identifier: Apache-2.0
// Prints pages for esaMmsgPrint: their name and, where the service knows the page, its fields.
#pragma once

#include "ses/print_record.h"

// A page the service answers with, and one it is sent. Nothing when not even the page code came.
void printReceivedPage(PrintBytes page);
void printSentPage(PrintBytes page);
