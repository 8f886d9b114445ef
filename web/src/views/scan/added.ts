import { Topic } from '../../parts/Topic';

/** The frequencies in MHz that this page has put into the transponder list, since it last emptied it. The list itself
 * cannot be read. */
export const added = new Topic<readonly number[]>([]);
