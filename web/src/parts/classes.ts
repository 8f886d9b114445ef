/** Joins the names of classes that are there: `classes(styles.cell, isSelected && styles.selected)`. */
export const classes = (...names: (string | false | null | undefined)[]): string => names.filter(Boolean).join(' ');
