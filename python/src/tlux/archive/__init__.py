"""Archives of pictures and videos through the command, on the processors of one machine or of many."""
