// filled by the table-storage work
