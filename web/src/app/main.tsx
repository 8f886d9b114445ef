import { createRoot } from 'react-dom/client';

createRoot(document.getElementById('page')!).render(<h1>Ostrel TV</h1>);
