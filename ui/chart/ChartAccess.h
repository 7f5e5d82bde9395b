// What a screen reader is told of the chart: its description, and what the keys read as its value.
#pragma once

/// Makes every chart of a session known to screen readers from now on.
void InstallChartAccess();
