import { Topic, useTopic } from '../parts/Topic';

/** Whether the view has the screen to itself, in larger type: for a television across the room. */
export const show = new Topic(false);
show.listen(() => document.documentElement.toggleAttribute('data-show', show.get()));

export const useShow = (): boolean => useTopic(show);
