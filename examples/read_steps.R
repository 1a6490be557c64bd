# Reads what `ordvane export RUN --what steps -o steps.csv` writes: by input and output, the swing of its steps.
steps <- read.csv(commandArgs(trailingOnly = TRUE)[1], fileEncoding = "UTF-8", colClasses = "character")
steps <- steps[steps$group == "", ]  # one input at a time
steps$value <- as.numeric(steps$value)
steps$result <- suppressWarnings(as.numeric(steps$result))  # NA: #NUM! and the like
swing <- function(results) diff(range(results, na.rm = TRUE))
swings <- aggregate(result ~ input + output, data = steps, FUN = swing)
print(swings[order(swings$output, -swings$result), ], row.names = FALSE)
